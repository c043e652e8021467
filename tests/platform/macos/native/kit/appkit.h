// What the kit, a small AppKit, QuartzCore and UserNotifications, tells a test, and what a person
// at the screen and the system can do with it. Methods that AppKit documents have its names here.
#pragma once

#import <AppKit/AppKit.h>
#import <UserNotifications/UserNotifications.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

@interface NSFont (Kit)
@property(readonly) CGFloat pointSize;
@property(readonly) BOOL monospacedDigits;
@property(readonly) CGFloat kitWeight; ///< 0: regular
@end

@interface NSColor (Kit)
/// "secondaryLabel", or "sRGB r g b a" with two decimals.
@property(readonly) NSString* kitName;
@end

@interface NSResponder (Kit)
@property(readonly) NSResponder* nextResponder;
@end

@interface NSEvent (Kit)
+ (NSEvent*)kitEventOfType:(NSEventType)type window:(NSWindow*)window;
@end

@interface NSView (Kit)
@property(readonly) NSView* superview;
- (const std::vector<NSView*>&)kitSubviews;
/// From its top edge to that of the view that fills its window, in points; counted downwards.
@property(readonly) CGFloat kitTopInWindow;
- (void)setFrameSize:(NSSize)size;
/// By AppKit's rule for the mask.
- (void)resizeWithOldSuperviewSize:(NSSize)oldSize;
/// Said by a window of its content view.
- (void)kitMoveToWindow:(NSWindow*)window;
@end

@interface NSWindow (Kit)
@property(strong) NSView* contentView;
@property(weak) NSResponder* firstResponder;
@property(readonly, getter=isVisible) BOOL visible;
@property(readonly, getter=isKeyWindow) BOOL keyWindow;
- (void)kitOrderOut;
@end

@interface NSViewController (Kit)
@property(weak) NSPopover* kitPopover;
@end

@interface NSControl (Kit)
- (BOOL)sendAction:(SEL)action to:(id)target;
- (void)performClick:(id)sender;
@end

@interface NSStatusItem (Kit)
@property(readonly) CGFloat length;
@end

@interface NSMenu (Kit)
@property(readonly) NSString* title;
- (const std::vector<NSMenuItem*>&)kitItems;
/// Chooses the item with that key and the Command key, in this menu or one below; NO: there is
/// none.
- (BOOL)kitPerformCommandKey:(const std::string&)key;
@end

@interface NSMenuItem (Kit)
@property(readonly) NSString* title;
@property(readonly) SEL action;
@property(readonly) NSString* keyEquivalent;
@property(readonly, getter=isSeparatorItem) BOOL separatorItem;
/// Whether somebody would receive the action: a menu shows other items in grey.
@property(readonly, getter=isEnabled) BOOL enabled;
/// As the menu does when it is chosen; nothing when it is not enabled.
- (void)kitChoose;
@end

@interface NSPopover (Kit)
@property(readonly) NSSize contentSize;
@property(readonly) NSRectEdge kitEdge;
@property(readonly) NSRect kitRect;
@property(readonly) NSView* kitAnchor;
- (void)close;
/// The end of what it is animating: of a change of size, or of its fading away.
- (void)kitFinishAnimations;
/// One step of a change of size that it animates; NO: it is as large as it is to be.
- (BOOL)kitAnimateStep;
/// Its content asks for another size.
- (void)kitFollowPreferredSize;
/// As it does when the user presses elsewhere.
- (void)kitPressedOutside;
@end

@interface NSApplication (Kit)
@property(readonly) NSApplicationActivationPolicy activationPolicy;
@property(readonly, getter=isActive) BOOL active;
@property(readonly) NSWindow* keyWindow;
- (BOOL)sendAction:(SEL)action to:(id)target from:(id)sender;
- (id)targetForAction:(SEL)action;
@end

@interface UNNotificationRequest (Kit)
@property(readonly) NSString* identifier;
@property(readonly) UNNotificationContent* content;
@property(readonly) UNNotificationTrigger* trigger;
@end

namespace korvel::kit {

/// Not among the events that the program asks for by name.
inline constexpr auto kLeftMouseUp = static_cast<NSEventType>(2);

/// How `shown` of a popover answers while it fades away: the documents leave both open.
enum class WhileFading { gone, stillShown };

/// What opening a popover does to a fading that has not ended.
enum class Reopening {
    leavesTheFading, ///< its end is told when it would have been
    endsTheFading,   ///< its end is told first
};

/// What was posted, as the centre got it.
struct Posted {
    std::string identifier;
    std::string title;
    std::string body;
    bool atOnce = false; ///< without a trigger
    bool shown = false;  ///< the user had allowed it
};

/// All that these classes share, and what was done with them. `reset` gives it up, objects and all.
struct Desktop {
    // Set by a test.
    bool screen = true;
    NSRect visibleFrame{{0, 0}, {1440, 875}};
    std::size_t screens = 1; ///< where there is one
    bool separateSpaces = true;
    bool front = true; ///< whether a program is in front of the others
    std::optional<std::string> frontIdentifier = "example.editor";
    bool givesButtons = true; ///< whether a status item has one
    WhileFading whileFading = WhileFading::gone;
    Reopening reopening = Reopening::leavesTheFading;
    int stepsOfAnimation = 4;
    bool allowsNotifications = true;
    std::function<void(NSView* view)> onFrame; ///< after each change of a view's frame

    // Told to a test.
    std::vector<std::string> log; ///< what was asked of the program's windows, in its order
    std::vector<__unsafe_unretained NSStatusItem*> items; ///< in the bar
    int flushes = 0;                                      ///< of layers
    std::vector<NSApplicationTerminateReply> replies;     ///< of the delegate to `terminate:`
    int exits = 0;                        ///< how often the process would have ended
    std::vector<NSUInteger> askedOptions; ///< of each request for authorisation
    std::vector<Posted> posted;
    std::vector<NSArray*> revealed; ///< what the Finder was told to select

    // Theirs.
    NSApplication* application = nil;
    NSStatusBar* statusBar = nil;
    NSScreen* mainScreen = nil;
    NSWorkspace* workspace = nil;
    UNUserNotificationCenter* notificationCentre = nil;
    NSEvent* currentEvent = nil;
    std::vector<NSWindow*> windows; ///< on the screen; the last one is in front
    __weak NSWindow* keyWindow = nil;
    std::vector<__unsafe_unretained NSPopover*> popovers; ///< that are open
    std::vector<NSPopover*> fading;                       ///< whose end is not yet told
};

Desktop& desktop();
void reset();

/// A press of the mouse in a window, before it is released: popovers that are transient may go.
void press(NSWindow* window);
/// Press and release on a button of the menu bar.
void click(NSButton* button);
/// The system asks the program to end, because the session ends; false: the program held it up.
bool logOut();

} // namespace korvel::kit
