#include "ui/content/action_sections.h"

#include "model/awake.h"
#include "model/model.h"

namespace korvel {

namespace {

using Reclaim = PopoverContent::ReclaimButton;

Reclaim reclaimOf(const Model& model) {
    if (*model.reclaiming) {
        return {"Clearing…", "", true, false, Reclaim::Action::none};
    }
    if (const std::optional<std::string>& preview = *model.reclaimPreview) {
        // Whatever the preview says, also where it says that there is nothing.
        return {"Clear " + *preview, "", true, true, Reclaim::Action::run};
    }
    if (*model.scanning) {
        return {"Scanning…", "", false, false, Reclaim::Action::none};
    }
    return {Reclaim::kAtRest, "trash", false, false, Reclaim::Action::preview};
}

} // namespace

PopoverContent::KeepAwake keepAwakeOf(const Awake& awake) {
    if (*awake.on) {
        return {true, awake.remainingLabel(), "Off", {}, awake.displayHeld(), awake.systemHeld()};
    }
    return {false,
            std::nullopt,
            "On",
            {{"30 minutes", 30},
             {"1 hour", 60},
             {"3 hours", 180},
             {"Until I turn it off", std::nullopt}}};
}

PopoverContent::Footer footerOf(const Model& model) {
    const bool on = model.snap->wardenOn;
    return {on ? "Warden on" : "Warden off",
            on ? "Background watchdog: kills runaway processes and reclaims disk every 15 min"
               : "Watchdog is not running",
            reclaimOf(model), "Quit Halden"};
}

} // namespace korvel
