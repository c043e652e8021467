#pragma once

#include "platform/services.h"
#include "platform/simulated/agents.h"
#include "platform/simulated/bundle.h"
#include "platform/simulated/child_processes.h"
#include "platform/simulated/clock.h"
#include "platform/simulated/defaults.h"
#include "platform/simulated/file_manager.h"
#include "platform/simulated/files.h"
#include "platform/simulated/http.h"
#include "platform/simulated/machine.h"
#include "platform/simulated/notifications.h"
#include "platform/simulated/power.h"
#include "platform/simulated/processes.h"
#include "platform/simulated/run_loop.h"
#include "platform/simulated/status_bar.h"
#include "platform/simulated/swapped_memory.h"
#include "platform/simulated/update_tools.h"
#include "platform/simulated/workspace.h"

namespace korvel::platform {

/// A whole simulated set: one of each service, on one run loop.
struct SimulatedServices {
    SimulatedRunLoop runLoop;
    SimulatedClock clock{runLoop, kSimulatedStart};
    SimulatedMachine machine;
    SimulatedProcesses processes;
    SimulatedSwappedMemory swappedMemory;
    SimulatedAgents agents;
    SimulatedFiles files;
    SimulatedStatusBar statusBar;
    SimulatedChildProcesses childProcesses;
    SimulatedDefaults defaults;
    SimulatedPower power;
    SimulatedNotifications notifications;
    SimulatedBundle bundle;
    SimulatedHttp http{runLoop, files};
    SimulatedFileManager fileManager{files};
    SimulatedDigest digest{files};
    SimulatedArchive archive{fileManager};
    SimulatedSignature codeSignature;
    SimulatedProgramLoader programLoader;
    SimulatedWorkspace workspace;

    SimulatedServices() = default;
    /// Queued work may hold objects that use the services, so it is dropped first.
    ~SimulatedServices() { runLoop.clear(); }
    SimulatedServices(const SimulatedServices&) = delete;
    SimulatedServices& operator=(const SimulatedServices&) = delete;

    /// The set as the program takes it; valid as long as this object.
    Services services() { return services(childProcesses, files); }
    /// The same with other children and files.
    Services services(ChildProcesses& children, Files& otherFiles) {
        return services(children, otherFiles, runLoop);
    }
    /// The same with another run loop too, which the simulated services themselves do not use.
    Services services(ChildProcesses& children, Files& otherFiles, RunLoop& otherLoop) {
        return {.machine = machine,
                .processes = processes,
                .swappedMemory = swappedMemory,
                .agents = agents,
                .childProcesses = children,
                .clock = clock,
                .runLoop = otherLoop,
                .files = otherFiles,
                .statusBar = statusBar,
                .defaults = defaults,
                .power = power,
                .notifications = notifications,
                .bundle = bundle,
                .http = http,
                .fileManager = fileManager,
                .digest = digest,
                .archive = archive,
                .codeSignature = codeSignature,
                .programLoader = programLoader,
                .workspace = workspace};
    }

    /// Drops all that the services remember of what they were asked, so that a long run takes no
    /// more memory than a short one.
    void forgetWhatWasAsked() {
        files.writes.clear();
        fileManager.places.clear();
        statusBar.titles.clear();
        childProcesses.runs.clear();
        childProcesses.streams.clear();
        notifications.posted.clear();
        processes.terminated.clear();
        http.urls.clear();
        codeSignature.builds.clear();
        workspace.revealed.clear();
        workspace.relaunched.clear();
    }

    /// Has every service write into one log.
    void logTo(CallLog& log) {
        for (Logging* service :
             {static_cast<Logging*>(&runLoop), static_cast<Logging*>(&clock),
              static_cast<Logging*>(&machine), static_cast<Logging*>(&processes),
              static_cast<Logging*>(&swappedMemory), static_cast<Logging*>(&agents),
              static_cast<Logging*>(&files), static_cast<Logging*>(&statusBar),
              static_cast<Logging*>(&defaults), static_cast<Logging*>(&power),
              static_cast<Logging*>(&notifications), static_cast<Logging*>(&http),
              static_cast<Logging*>(&fileManager), static_cast<Logging*>(&digest),
              static_cast<Logging*>(&archive), static_cast<Logging*>(&codeSignature),
              static_cast<Logging*>(&programLoader), static_cast<Logging*>(&workspace)}) {
            service->log = &log;
        }
    }
};

} // namespace korvel::platform
