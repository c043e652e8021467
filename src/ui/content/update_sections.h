#pragma once

#include <memory>
#include <optional>

#include "ui/content/popover_content.h"

namespace korvel {

class Updater;
class WhatsNew;

/// The line on the state of an update; none while there is nothing to tell.
std::optional<PopoverContent::UpdateLine> updateLineOf(const Updater& updater);

/// The card that greets the user.
struct WhatsNewBanner {
    std::shared_ptr<WhatsNew> wn; ///< the program's own unless given

    WhatsNewBanner();
    explicit WhatsNewBanner(std::shared_ptr<WhatsNew> whatsNew) : wn(std::move(whatsNew)) {}

    /// Its texts; empty while there is nothing to greet with.
    PopoverContent::Banner content() const;
    /// Whether there is something.
    bool isShown() const;
};

} // namespace korvel
