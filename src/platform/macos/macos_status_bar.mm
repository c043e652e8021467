#include "platform/macos/macos_status_bar.h"

#import <AppKit/AppKit.h>

#include <utility>

#import "platform/macos/application_delegate.h"
#include "platform/macos/macos_application.h"
#import "platform/macos/ns_string.h"

namespace korvel::platform {

struct MacosStatusItem::Parts {
    NSStatusItem* item; ///< leaves the bar with the last reference to it
    MacosApplication& application;
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

/// What the item sends along the responder chain, which ends at the application and its delegate.
SEL actionOf(MenuCommand command) {
    switch (command) {
    case MenuCommand::checkForUpdates:
        return @selector(checkForUpdates);
    case MenuCommand::terminate:
        return @selector(terminate:);
    case MenuCommand::cut:
        return @selector(cut:);
    case MenuCommand::copy:
        return @selector(copy:);
    case MenuCommand::paste:
        return @selector(paste:);
    case MenuCommand::selectAll:
        return @selector(selectAll:);
    case MenuCommand::none:
        break;
    }
    return nullptr;
}

NSMenuItem* menuItem(const MenuItem& item) {
    if (item.title.empty()) {
        return [NSMenuItem separatorItem];
    }
    return [[NSMenuItem alloc] initWithTitle:toNSString(item.title)
                                      action:actionOf(item.command)
                               keyEquivalent:toNSString(item.keyEquivalent)];
}

} // namespace

MacosStatusItem::MacosStatusItem(MacosApplication& application)
    : parts_(
          new Parts{[NSStatusBar.systemStatusBar statusItemWithLength:NSVariableStatusItemLength],
                    application}) {
    NSStatusBarButton* button = parts_->item.button;
    button.target = (__bridge id)application.delegate();
    button.action = @selector(togglePopover);
}

MacosStatusItem::~MacosStatusItem() {
    parts_->application.setTogglePopover({});
}

void MacosStatusItem::setTitle(const StatusTitle& title) {
    NSMutableAttributedString* text = [[NSMutableAttributedString alloc] init];
    for (const TitleRun& run : title.runs) {
        [text appendAttributedString:attributed(run)];
    }
    parts_->item.button.attributedTitle = text;
}

void MacosStatusItem::setToolTip(const std::string& /*text*/) {}

void MacosStatusItem::setAction(Action action) {
    parts_->application.setTogglePopover([action = std::move(action)] {
        if (action) {
            action({});
        }
    });
}

void* MacosStatusItem::button() const {
    return (__bridge void*)parts_->item.button;
}

std::unique_ptr<StatusItem> MacosStatusBar::makeStatusItem() {
    return std::make_unique<MacosStatusItem>(application_);
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
