#include "report/first_run.h"

namespace korvel {

const std::vector<std::string>& firstRunOnAMac() {
    static const std::vector<std::string> points = {
        "Focus at launch: type in another program while Korvel starts. No key is lost, and that "
        "program stays in front.",
        "The item stands in the menu bar with its dot and score, in light and dark bars; with a "
        "cup "
        "while the Mac is kept awake.",
        "A click opens the popover under the item; a second click, Escape and a click elsewhere "
        "close it. The click that closes it does not open it again.",
        "Rapid clicks: ten on the item, as fast as you can. The popover is never empty, and the "
        "next "
        "click opens or closes it.",
        "Height: while the breakdown opens and closes, the popover follows in one step; its top "
        "stays "
        "where it is, and no empty stripe is seen.",
        "Second display: a click on the item of each menu bar opens the popover under that one, "
        "also "
        "after the other display was unplugged.",
        "Command-C in the popover, Command-Q, and \"Check for Updates…\".",
        "The question about notifications at the first launch, and a notification when the score "
        "falls.",
        "Keep awake: `pmset -g assertions` lists two lines with \"Korvel keep awake\", and none "
        "after "
        "a quit.",
        "Log-out with keep-awake on: nothing says that Korvel interrupted it, and after the next "
        "log-in the Mac is kept awake again.",
        "Wake from sleep: within five seconds the score is a new one, a keep-awake that ran out "
        "meanwhile is over, and the popover opens.",
        "An update from one signed build to the next.",
    };
    return points;
}

} // namespace korvel
