// What Korvel uses of AppKit, declared by ourselves so that its Objective-C++ compiles where there
// is no SDK. With the SDK this file is not used. How it was checked is told in Foundation.h.
#pragma once

#import <Foundation/Foundation.h>

@class NSAppearance, NSEvent, NSMenu, NSView, NSWindow;

KORVEL_EXTERN const NSAttributedStringKey NSFontAttributeName;
KORVEL_EXTERN const NSAttributedStringKey NSForegroundColorAttributeName;

typedef CGFloat NSFontWeight;
KORVEL_EXTERN const NSFontWeight NSFontWeightMedium;

@interface NSFont : NSObject
+ (NSFont*)systemFontOfSize:(CGFloat)size;
+ (NSFont*)monospacedDigitSystemFontOfSize:(CGFloat)size weight:(NSFontWeight)weight;
@end

@interface NSColor : NSObject
@property(class, readonly, strong) NSColor* secondaryLabelColor;
+ (NSColor*)colorWithSRGBRed:(CGFloat)red
                       green:(CGFloat)green
                        blue:(CGFloat)blue
                       alpha:(CGFloat)alpha;
@end

@interface NSResponder : NSObject
@end

typedef NS_ENUM(NSUInteger, NSEventType){
    NSEventTypeLeftMouseDown = 1,
};

@interface NSEvent : NSObject
@property(readonly) NSEventType type;
@property(readonly, weak) NSWindow* window;
@end

typedef NS_OPTIONS(NSUInteger, NSAutoresizingMaskOptions){
    NSViewNotSizable = 0,
    NSViewWidthSizable = 2,
    NSViewHeightSizable = 16,
};

@interface NSView : NSResponder
@property NSRect frame;
@property NSRect bounds;
@property NSAutoresizingMaskOptions autoresizingMask;
@property(readonly, getter=isFlipped) BOOL flipped;
@property(readonly, assign) NSWindow* window;
- (void)setFrameOrigin:(NSPoint)origin;
- (void)addSubview:(NSView*)view;
- (void)removeFromSuperview;
@end

@interface NSWindow : NSResponder
- (void)makeKeyAndOrderFront:(id)sender;
@end

@interface NSViewController : NSResponder
@property(strong) NSView* view;
@property NSSize preferredContentSize;
@end

@interface NSControl : NSView
@property(weak) id target;
@property SEL action;
@end

@interface NSButton : NSControl
@property(copy) NSAttributedString* attributedTitle;
@end

@interface NSStatusBarButton : NSButton
@end

static const CGFloat NSVariableStatusItemLength = -1;

@interface NSStatusItem : NSObject
@property(readonly, strong) NSStatusBarButton* button;
@end

@interface NSStatusBar : NSObject
@property(class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
@end

@class NSPopover;

@protocol NSPopoverDelegate <NSObject>
@optional
- (BOOL)popoverShouldClose:(NSPopover*)popover;
- (void)popoverWillClose:(NSNotification*)notification;
- (void)popoverDidClose:(NSNotification*)notification;
@end

typedef NS_ENUM(NSInteger, NSPopoverBehavior){
    NSPopoverBehaviorApplicationDefined = 0,
    NSPopoverBehaviorTransient = 1,
    NSPopoverBehaviorSemitransient = 2,
};

@interface NSPopover : NSResponder
@property(weak) id<NSPopoverDelegate> delegate;
@property NSPopoverBehavior behavior;
@property BOOL animates;
@property(strong) NSViewController* contentViewController;
@property(readonly, getter=isShown) BOOL shown;
- (void)showRelativeToRect:(NSRect)rectangle
                    ofView:(NSView*)view
             preferredEdge:(NSRectEdge)edge;
- (void)performClose:(id)sender;
@end

@interface NSMenuItem : NSObject
@property(weak) id target;
@property(strong) NSMenu* submenu;
+ (NSMenuItem*)separatorItem;
- (instancetype)initWithTitle:(NSString*)title
                       action:(SEL)action
                keyEquivalent:(NSString*)keyEquivalent;
@end

@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString*)title;
- (void)addItem:(NSMenuItem*)item;
@end

/// Never named by the layer, which sends these along the responder chain.
@interface NSText : NSView
- (void)cut:(id)sender;
- (void)copy:(id)sender;
- (void)paste:(id)sender;
- (void)selectAll:(id)sender;
@end

typedef NS_ENUM(NSInteger, NSApplicationActivationPolicy){
    NSApplicationActivationPolicyRegular = 0,
    NSApplicationActivationPolicyAccessory = 1,
    NSApplicationActivationPolicyProhibited = 2,
};

typedef NS_ENUM(NSUInteger, NSApplicationTerminateReply){
    NSTerminateCancel = 0,
    NSTerminateNow = 1,
    NSTerminateLater = 2,
};

@class NSApplication;

@protocol NSApplicationDelegate <NSObject>
@optional
- (NSApplicationTerminateReply)applicationShouldTerminate:(NSApplication*)sender;
- (void)applicationWillTerminate:(NSNotification*)notification;
@end

@interface NSApplication : NSResponder
@property(class, readonly, strong) NSApplication* sharedApplication;
@property(weak) id<NSApplicationDelegate> delegate;
@property(strong) NSMenu* mainMenu;
@property(readonly, strong) NSEvent* currentEvent;
- (BOOL)setActivationPolicy:(NSApplicationActivationPolicy)policy;
- (void)activateIgnoringOtherApps:(BOOL)ignoreOtherApps;
- (void)terminate:(id)sender;
@end

@interface NSScreen : NSObject
@property(class, readonly, strong) NSScreen* mainScreen;
@property(class, readonly, copy) NSArray<NSScreen*>* screens;
@property(class, readonly) BOOL screensHaveSeparateSpaces;
@property(readonly) NSRect visibleFrame;
@end

@interface NSRunningApplication : NSObject
@property(readonly, copy) NSString* bundleIdentifier;
@end

@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
@property(readonly, strong) NSRunningApplication* frontmostApplication;
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)urls;
@end
