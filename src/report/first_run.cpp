#include "report/first_run.h"

namespace korvel {

const std::vector<std::string>& firstRunOnAMac() {
    struct Point {
        std::string what;
        std::string look;
    };
    static const std::vector<Point> points = {
        {"Focus at launch",
         "type in another program while Korvel starts. No key is lost, and that program stays "
         "in front."},
        {"Menu bar",
         "the item stands there with its dot and score, in light and dark bars; with a cup "
         "while the Mac is kept awake."},
        {"Clicks",
         "one opens the popover under the item; a second one, Escape and a click elsewhere "
         "close it. The click that closes it does not open it again."},
        {"Rapid clicks",
         "ten on the item, as fast as you can. The popover is never empty, and the next click "
         "opens or closes it."},
        {"Height",
         "while the breakdown opens and closes, the popover follows in one step; its top stays "
         "where it is, and no empty stripe is seen."},
        {"Second display",
         "a click on the item of each menu bar opens the popover under that one, also after the"
         " other display was unplugged."},
        {"Keys", "Command-C in the popover, Command-Q, and “Check for Updates…” in the menu."},
        {"Notifications",
         "the question about them at the first launch, and one when the score falls."},
        {"Keep awake",
         "`pmset -g assertions` lists two lines with “Korvel keep awake”, and none after a "
         "quit."},
        {"Log-out with keep-awake on",
         "nothing says that Korvel interrupted it, and after the next log-in the Mac is kept "
         "awake again."},
        {"Wake from sleep",
         "within five seconds the score is a new one, a keep-awake that ran out meanwhile is "
         "over, and the popover opens."},
        {"Update", "from one signed build to the next."},
        {"An hour later",
         "the score still follows the machine while nobody looks, and Activity Monitor says No "
         "under App Nap."},
    };
    static const std::vector<std::string> sentences = [] {
        std::vector<std::string> made;
        made.reserve(points.size());
        for (const Point& point : points) {
            made.push_back(point.what + ": " + point.look);
        }
        return made;
    }();
    return sentences;
}

} // namespace korvel
