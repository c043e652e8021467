#pragma once

#include <memory>

#include "core/metrics.h"
#include "model/awake.h"
#include "model/model.h"
#include "platform/simulated/services.h"
#include "update/updater.h"
#include "update/whats_new.h"

namespace korvel::test {

/// A model on a simulated machine.
struct SimulatedModel {
    platform::SimulatedServices system;
    Metrics metrics{system.machine, system.processes, system.agents, system.clock};
    std::shared_ptr<Model> model = std::make_shared<Model>(metrics, system.services());
    std::shared_ptr<Awake> awake = std::make_shared<Awake>(system.services());
    std::shared_ptr<Updater> updater = std::make_shared<Updater>(system.services());
    std::shared_ptr<WhatsNew> whatsNew = std::make_shared<WhatsNew>(system.services(), updater);

    /// Adds a process of so many GB, of which so many are swapped out.
    void addProcess(std::int32_t pid, const std::string& name, double gb, double swappedGB = 0) {
        system.processes.table.push_back(
            {pid, name, static_cast<std::uint64_t>(gb * 0x1p30), std::nullopt});
        system.swappedMemory.bytes[pid] = swappedGB * 0x1p30;
    }

    /// Runs what is queued, without letting time pass.
    void settle() { system.runLoop.advance(0); }
};

} // namespace korvel::test
