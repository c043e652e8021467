#include "platform/macos/macos_status_bar.h"

#import <AppKit/AppKit.h>

#include <utility>

#import "platform/macos/appkit_action.h"
#import "platform/macos/ns_string.h"

namespace korvel::platform {

struct MacosStatusItem::Parts {
    NSStatusItem* item; ///< leaves the bar with the last reference to it
    KorvelAction* action;
};

namespace {

NSFont* fontOf(const TitleRun& run) {
    switch (run.font) {
    case TitleFont::monospacedDigitMedium:
        return [NSFont monospacedDigitSystemFontOfSize:run.size weight:NSFontWeightMedium];
    case TitleFont::system:
        break;
    }
    return [NSFont systemFontOfSize:run.size];
}

/// nil: no colour attribute.
NSColor* colourOf(const TitleRun& run) {
    switch (run.ink) {
    case TitleInk::colour:
        return [NSColor colorWithSRGBRed:run.colour.red
                                   green:run.colour.green
                                    blue:run.colour.blue
                                   alpha:1];
    case TitleInk::secondaryLabel:
        return NSColor.secondaryLabelColor;
    case TitleInk::label:
        break;
    }
    return nil;
}

NSAttributedString* attributed(const TitleRun& run) {
    NSMutableAttributedString* text =
        [[NSMutableAttributedString alloc] initWithString:toNSString(run.text)];
    const NSRange all = NSMakeRange(0, text.length);
    [text addAttribute:NSFontAttributeName value:fontOf(run) range:all];
    if (NSColor* colour = colourOf(run)) {
        [text addAttribute:NSForegroundColorAttributeName value:colour range:all];
    }
    return text;
}

/// AppKit's name for the action of a menu item: "Select All" sends `selectAll:`.
SEL toolkitAction(const std::string& title) {
    std::string name;
    for (const char c : title) {
        if (c != ' ') {
            name += name.empty() && c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    return sel_registerName((name + ":").c_str());
}

NSMenuItem* menuItem(const MenuItem& item) {
    if (item.title.empty()) {
        return [NSMenuItem separatorItem];
    }
    NSMenuItem* made = [[NSMenuItem alloc]
        initWithTitle:toNSString(item.title)
               action:item.action ? @selector(korvelAct) : toolkitAction(item.title)
        keyEquivalent:toNSString(item.keyEquivalent)];
    if (item.action) {
        KorvelAction* action = [[KorvelAction alloc] init];
        action->action_ = item.action;
        made.target = action;
        made.representedObject = action; // which the item holds
    }
    return made;
}

} // namespace

MacosStatusItem::MacosStatusItem()
    : parts_(
          new Parts{[NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength],
                    [[KorvelAction alloc] init]}) {
    NSStatusBarButton* button = parts_->item.button;
    button.target = parts_->action;
    button.action = @selector(korvelAct);
}

MacosStatusItem::~MacosStatusItem() = default;

void MacosStatusItem::setTitle(const StatusTitle& title) {
    NSMutableAttributedString* text = [[NSMutableAttributedString alloc] init];
    for (const TitleRun& run : title.runs) {
        [text appendAttributedString:attributed(run)];
    }
    parts_->item.button.attributedTitle = text;
}

void MacosStatusItem::setToolTip(const std::string& /*text*/) {}

void MacosStatusItem::setAction(std::function<void()> action) {
    parts_->action->action_ = std::move(action);
}

void* MacosStatusItem::button() const {
    return (__bridge void*)parts_->item.button;
}

std::unique_ptr<StatusItem> MacosStatusBar::makeStatusItem() {
    return std::make_unique<MacosStatusItem>();
}

void MacosStatusBar::setMainMenu(MainMenu menu) {
    NSMenu* bar = [[NSMenu alloc] initWithTitle:toNSString({})];
    for (const Menu& each : menu.menus) {
        NSMenu* submenu = [[NSMenu alloc] initWithTitle:toNSString(each.title)];
        for (const MenuItem& item : each.items) {
            [submenu addItem:menuItem(item)];
        }
        NSMenuItem* holder = [[NSMenuItem alloc] initWithTitle:toNSString({})
                                                        action:nullptr
                                                 keyEquivalent:toNSString({})];
        holder.submenu = submenu;
        [bar addItem:holder];
    }
    NSApplication.sharedApplication.mainMenu = bar;
}

} // namespace korvel::platform
