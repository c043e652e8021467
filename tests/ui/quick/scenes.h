#pragma once

#include <memory>
#include <string>
#include <vector>

#include "core/snapshot.h"
#include "support/simulated_model.h"
#include "ui/content/content_view.h"

namespace korvel {

/// A popover's content on a model whose state is set by hand.
class Stage {
  public:
    Stage();

    /// Gives the reading its score, as the sampler would, and publishes it.
    void show(Snapshot snapshot);
    /// Replaces the trail by `count` points that wander around these levels.
    void showHistory(std::size_t count, double cpu, double mem);

    test::SimulatedModel simulated;
    std::shared_ptr<Model> model = simulated.model;
    ContentView root{model, simulated.system.services(), simulated.awake, simulated.updater,
                     simulated.whatsNew};
};

Snapshot healthyReading();
Snapshot fairReading();
/// Short of everything, with a process that eats the machine.
Snapshot strainedReading();
/// Processes whose names try to break the layout.
Snapshot hostileReading();

/// A state of the popover worth a look.
struct Scene {
    std::string name;
    void (*set)(Stage& stage);
};

const std::vector<Scene>& scenes();

} // namespace korvel
