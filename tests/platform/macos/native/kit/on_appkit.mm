#import "platform/macos/native/kit/on_appkit.h"

#include <objc/runtime.h>

#include <cmath>

#include "platform/macos/macos_status_bar.h"
#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/ns_string.h"

namespace korvel::kit {

namespace {

std::string fontName(NSFont* font) {
    if (font == nil) {
        return "no font";
    }
    std::string name = font.monospacedDigits ? "digits " : "system ";
    name += std::to_string(std::lround(font.pointSize));
    return font.kitWeight == NSFontWeightMedium ? name + " medium" : name;
}

} // namespace

std::string nameOf(SEL selector) {
    return selector == nullptr ? std::string() : sel_getName(selector);
}

std::vector<std::string> linesOf(NSAttributedString* title) {
    std::vector<std::string> lines;
    for (const objc::AttributedRun& run : objc::runsOf(title)) {
        const auto valueOf = [&run](NSAttributedStringKey key) {
            const auto found = run.attributes.find(platform::toString(key));
            return found != run.attributes.end() ? found->second : nil;
        };
        NSColor* colour = valueOf(NSForegroundColorAttributeName);
        lines.push_back(run.text + ": " + fontName(valueOf(NSFontAttributeName)) +
                        (colour != nil ? ", " + platform::toString(colour.kitName) : ""));
    }
    return lines;
}

NSStatusBarButton* buttonOf(platform::StatusItem& item) {
    return (__bridge NSStatusBarButton*)static_cast<platform::MacosStatusItem&>(item).button();
}

NSPopover* openPopover() {
    return desktop().popovers.empty() ? nil : desktop().popovers.back();
}

void pressElsewhere() {
    press([[NSWindow alloc] init]);
}

void finishFading() {
    const std::vector<NSPopover*> fading = desktop().fading;
    for (NSPopover* each : fading) {
        [each kitFinishAnimations];
    }
}

std::vector<Fading> fadings() {
    return {{.name = "GoneAtOnce"},
            {.name = "ShownToTheEnd", .whileFading = WhileFading::stillShown},
            {.name = "GoneAndEndedByReopening", .reopening = Reopening::endsTheFading},
            {.name = "ShownAndEndedByReopening",
             .whileFading = WhileFading::stillShown,
             .reopening = Reopening::endsTheFading}};
}

} // namespace korvel::kit
