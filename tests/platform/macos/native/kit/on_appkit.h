// What the tests of the layer on the kit share.
#pragma once

#include <string>
#include <vector>

#import "platform/macos/native/kit/appkit.h"

namespace korvel::platform {
class StatusItem;
}

namespace korvel::kit {

/// Empty for none.
std::string nameOf(SEL selector);

/// A line for each run of equal attributes: its text, its font, and its colour if it has one.
std::vector<std::string> linesOf(NSAttributedString* title);

/// nil when the bar gave none.
NSStatusBarButton* buttonOf(platform::StatusItem& item);

/// The popover that is open; nil: none.
NSPopover* openPopover();

/// The user presses in a window that has nothing to do with the program's items and popovers.
void pressElsewhere();

/// Every popover that fades away has faded.
void finishFading();

/// How AppKit tells of a fading, of which the documents leave two things open.
struct Fading {
    std::string name;
    WhileFading whileFading = WhileFading::gone;
    Reopening reopening = Reopening::leavesTheFading;
};

/// Every way.
std::vector<Fading> fadings();

} // namespace korvel::kit
