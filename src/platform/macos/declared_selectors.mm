#include "platform/macos/declared_selectors.h"

#import <AppKit/AppKit.h>
#import <Foundation/Foundation.h>
#import <QuartzCore/QuartzCore.h>
#import <UserNotifications/UserNotifications.h>
#include <objc/runtime.h>

#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <type_traits>

#include "platform/macos/type_encoding.h"

namespace korvel::platform {

namespace {

using Kind = SelectorReport::Kind;
using Answer = SelectorReport::Answer;

struct Declared {
    Kind kind;
    const char* owner; ///< class or protocol
    const char* selector;
    std::string encoding;
};

/// Whether two types have one encoding. It is not known to the compiler as a value; but all objects
/// have the same, and blocks, which are objects too, another one of another length.
template <class A, class B>
constexpr bool kSameEncoding = std::is_same_v<A, B> ||
                               (std::is_convertible_v<A, id> && std::is_convertible_v<B, id> &&
                                sizeof(@encode(A)) == sizeof(@encode(B)));

/// Stands for an argument of a message that is compiled but never sent: fits a parameter whose
/// declared type has the encoding of T, and stops the compiler at any other.
template <class T>
struct Exactly {
    template <class Parameter>
    operator Parameter() const {
        static_assert(kSameEncoding<Parameter, T>, "the declaration says otherwise");
        std::abort();
    }
};

template <class T>
Exactly<T> exactly(const T& /*of that type*/) {
    return {};
}

constexpr std::size_t argumentsOf(std::string_view selector) {
    std::size_t colons = 0;
    for (const char c : selector) {
        colons += c == ':' ? 1U : 0U;
    }
    return colons;
}

template <std::size_t Colons, class Message, class Result, class Receiver, class... Arguments>
std::string encodingOfCall(Result (Message::* /*sends it*/)(Receiver, Arguments...) const) {
    static_assert(sizeof...(Arguments) == Colons, "one argument for each colon");
    std::string encoding = @encode(Result);
    encoding += @encode(id);
    encoding += @encode(SEL);
    (encoding.append(@encode(Arguments)), ...);
    return encoding;
}

/// Of a function object that would send the message: its result is what the declaration returns,
/// and what it takes is held against the declaration by `exactly`.
template <std::size_t Colons, class Message>
std::string encodingOf(const Message& /*never run*/) {
    return encodingOfCall<Colons, Message>(&Message::operator());
}

#define KORVEL_ROW(kind, owner, receiver, selector, message, ...)                                  \
    Declared {                                                                                     \
        kind, #owner, #selector,                                                                   \
            encodingOf<argumentsOf(#selector)>(                                                    \
                []([[maybe_unused]] receiver it __VA_OPT__(, ) __VA_ARGS__) { return message; })   \
    }
#define KORVEL_INSTANCE(owner, ...) KORVEL_ROW(Kind::instanceMethod, owner, owner*, __VA_ARGS__)
#define KORVEL_CLASS(owner, ...) KORVEL_ROW(Kind::classMethod, owner, owner*, __VA_ARGS__)
#define KORVEL_PROTOCOL(owner, ...) KORVEL_ROW(Kind::protocolMethod, owner, id<owner>, __VA_ARGS__)

// clang-format off
/// Each: the class, the selector, the message, and the message's arguments with their types.
std::vector<Declared> declaredMethods() {
    return {
        // Foundation
        KORVEL_CLASS(NSArray, arrayWithObject:, [NSArray arrayWithObject:exactly(object)], id object),
        KORVEL_INSTANCE(NSArray, count, [it count]),
        KORVEL_INSTANCE(NSAttributedString, initWithString:, [it initWithString:exactly(string)], NSString* string),
        KORVEL_INSTANCE(NSAttributedString, length, [it length]),
        KORVEL_CLASS(NSBundle, mainBundle, [NSBundle mainBundle]),
        KORVEL_INSTANCE(NSBundle, bundleIdentifier, [it bundleIdentifier]),
        KORVEL_INSTANCE(NSBundle, bundlePath, [it bundlePath]),
        KORVEL_INSTANCE(NSBundle, infoDictionary, [it infoDictionary]),
        KORVEL_INSTANCE(NSDictionary, objectForKey:, [it objectForKey:exactly(key)], id key),
        KORVEL_CLASS(NSError, errorWithDomain:code:userInfo:, [NSError errorWithDomain:exactly(domain) code:exactly(code) userInfo:exactly(information)], NSString* domain, NSInteger code, NSDictionary* information),
        KORVEL_INSTANCE(NSError, localizedDescription, [it localizedDescription]),
        KORVEL_CLASS(NSFileManager, defaultManager, [NSFileManager defaultManager]),
        KORVEL_INSTANCE(NSFileManager, isWritableFileAtPath:, [it isWritableFileAtPath:exactly(path)], NSString* path),
        KORVEL_INSTANCE(NSFileManager, moveItemAtURL:toURL:error:, [it moveItemAtURL:exactly(from) toURL:exactly(to) error:exactly(error)], NSURL* from, NSURL* to, NSError* __autoreleasing* error),
        KORVEL_INSTANCE(NSMutableAttributedString, addAttribute:value:range:, [it addAttribute:exactly(name) value:exactly(value) range:exactly(range)], NSString* name, id value, NSRange range),
        KORVEL_INSTANCE(NSMutableAttributedString, appendAttributedString:, [it appendAttributedString:exactly(string)], NSAttributedString* string),
        KORVEL_INSTANCE(NSNotification, object, [it object]),
        KORVEL_CLASS(NSObject, class, [NSObject class]),
        KORVEL_INSTANCE(NSObject, isKindOfClass:, [it isKindOfClass:exactly(type)], Class type),
        KORVEL_CLASS(NSProcessInfo, processInfo, [NSProcessInfo processInfo]),
        KORVEL_INSTANCE(NSProcessInfo, thermalState, [it thermalState]),
        KORVEL_INSTANCE(NSString, UTF8String, [it UTF8String]),
        KORVEL_INSTANCE(NSString, initWithBytes:length:encoding:, [it initWithBytes:exactly(bytes) length:exactly(length) encoding:exactly(encoding)], const void* bytes, NSUInteger length, NSStringEncoding encoding),
        KORVEL_INSTANCE(NSString, stringByDeletingLastPathComponent, [it stringByDeletingLastPathComponent]),
        KORVEL_CLASS(NSURL, fileURLWithPath:, [NSURL fileURLWithPath:exactly(path)], NSString* path),
        KORVEL_CLASS(NSUserDefaults, standardUserDefaults, [NSUserDefaults standardUserDefaults]),
        KORVEL_INSTANCE(NSUserDefaults, boolForKey:, [it boolForKey:exactly(key)], NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, doubleForKey:, [it doubleForKey:exactly(key)], NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, initWithSuiteName:, [it initWithSuiteName:exactly(name)], NSString* name),
        KORVEL_INSTANCE(NSUserDefaults, integerForKey:, [it integerForKey:exactly(key)], NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, objectForKey:, [it objectForKey:exactly(key)], NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, removeObjectForKey:, [it removeObjectForKey:exactly(key)], NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, setBool:forKey:, [it setBool:exactly(value) forKey:exactly(key)], BOOL value, NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, setDouble:forKey:, [it setDouble:exactly(value) forKey:exactly(key)], double value, NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, setInteger:forKey:, [it setInteger:exactly(value) forKey:exactly(key)], NSInteger value, NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, setObject:forKey:, [it setObject:exactly(value) forKey:exactly(key)], id value, NSString* key),
        KORVEL_INSTANCE(NSUserDefaults, synchronize, [it synchronize]),

        // AppKit
        KORVEL_CLASS(NSApplication, sharedApplication, [NSApplication sharedApplication]),
        KORVEL_INSTANCE(NSApplication, activateIgnoringOtherApps:, [it activateIgnoringOtherApps:exactly(others)], BOOL others),
        KORVEL_INSTANCE(NSApplication, currentEvent, [it currentEvent]),
        KORVEL_INSTANCE(NSApplication, setActivationPolicy:, [it setActivationPolicy:exactly(policy)], NSApplicationActivationPolicy policy),
        KORVEL_INSTANCE(NSApplication, setDelegate:, [it setDelegate:exactly(delegate)], id<NSApplicationDelegate> delegate),
        KORVEL_INSTANCE(NSApplication, setMainMenu:, [it setMainMenu:exactly(menu)], NSMenu* menu),
        KORVEL_INSTANCE(NSApplication, terminate:, [it terminate:exactly(sender)], id sender),
        KORVEL_INSTANCE(NSButton, setAttributedTitle:, [it setAttributedTitle:exactly(title)], NSAttributedString* title),
        KORVEL_CLASS(NSColor, colorWithSRGBRed:green:blue:alpha:, [NSColor colorWithSRGBRed:exactly(red) green:exactly(green) blue:exactly(blue) alpha:exactly(alpha)], CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha),
        KORVEL_CLASS(NSColor, secondaryLabelColor, [NSColor secondaryLabelColor]),
        KORVEL_INSTANCE(NSControl, setAction:, [it setAction:exactly(action)], SEL action),
        KORVEL_INSTANCE(NSControl, setTarget:, [it setTarget:exactly(target)], id target),
        KORVEL_INSTANCE(NSEvent, type, [it type]),
        KORVEL_INSTANCE(NSEvent, window, [it window]),
        KORVEL_CLASS(NSFont, monospacedDigitSystemFontOfSize:weight:, [NSFont monospacedDigitSystemFontOfSize:exactly(size) weight:exactly(weight)], CGFloat size, NSFontWeight weight),
        KORVEL_CLASS(NSFont, systemFontOfSize:, [NSFont systemFontOfSize:exactly(size)], CGFloat size),
        KORVEL_INSTANCE(NSMenu, addItem:, [it addItem:exactly(item)], NSMenuItem* item),
        KORVEL_INSTANCE(NSMenu, initWithTitle:, [it initWithTitle:exactly(title)], NSString* title),
        KORVEL_CLASS(NSMenuItem, separatorItem, [NSMenuItem separatorItem]),
        KORVEL_INSTANCE(NSMenuItem, initWithTitle:action:keyEquivalent:, [it initWithTitle:exactly(title) action:exactly(action) keyEquivalent:exactly(key)], NSString* title, SEL action, NSString* key),
        KORVEL_INSTANCE(NSMenuItem, setSubmenu:, [it setSubmenu:exactly(menu)], NSMenu* menu),
        KORVEL_INSTANCE(NSPopover, isShown, [it isShown]),
        KORVEL_INSTANCE(NSPopover, performClose:, [it performClose:exactly(sender)], id sender),
        KORVEL_INSTANCE(NSPopover, setAnimates:, [it setAnimates:exactly(animates)], BOOL animates),
        KORVEL_INSTANCE(NSPopover, setBehavior:, [it setBehavior:exactly(behaviour)], NSPopoverBehavior behaviour),
        KORVEL_INSTANCE(NSPopover, setContentViewController:, [it setContentViewController:exactly(controller)], NSViewController* controller),
        KORVEL_INSTANCE(NSPopover, setDelegate:, [it setDelegate:exactly(delegate)], id<NSPopoverDelegate> delegate),
        KORVEL_INSTANCE(NSPopover, showRelativeToRect:ofView:preferredEdge:, [it showRelativeToRect:exactly(rectangle) ofView:exactly(view) preferredEdge:exactly(edge)], NSRect rectangle, NSView* view, NSRectEdge edge),
        KORVEL_INSTANCE(NSRunningApplication, bundleIdentifier, [it bundleIdentifier]),
        KORVEL_CLASS(NSScreen, mainScreen, [NSScreen mainScreen]),
        KORVEL_CLASS(NSScreen, screens, [NSScreen screens]),
        KORVEL_CLASS(NSScreen, screensHaveSeparateSpaces, [NSScreen screensHaveSeparateSpaces]),
        KORVEL_INSTANCE(NSScreen, visibleFrame, [it visibleFrame]),
        KORVEL_CLASS(NSStatusBar, systemStatusBar, [NSStatusBar systemStatusBar]),
        KORVEL_INSTANCE(NSStatusBar, statusItemWithLength:, [it statusItemWithLength:exactly(length)], CGFloat length),
        KORVEL_INSTANCE(NSStatusItem, button, [it button]),
        KORVEL_INSTANCE(NSText, copy:, [it copy:exactly(sender)], id sender),
        KORVEL_INSTANCE(NSText, cut:, [it cut:exactly(sender)], id sender),
        KORVEL_INSTANCE(NSText, paste:, [it paste:exactly(sender)], id sender),
        KORVEL_INSTANCE(NSText, selectAll:, [it selectAll:exactly(sender)], id sender),
        KORVEL_INSTANCE(NSView, addSubview:, [it addSubview:exactly(view)], NSView* view),
        KORVEL_INSTANCE(NSView, bounds, [it bounds]),
        KORVEL_INSTANCE(NSView, isFlipped, [it isFlipped]),
        KORVEL_INSTANCE(NSView, removeFromSuperview, [it removeFromSuperview]),
        KORVEL_INSTANCE(NSView, setAutoresizingMask:, [it setAutoresizingMask:exactly(mask)], NSAutoresizingMaskOptions mask),
        KORVEL_INSTANCE(NSView, setFrameOrigin:, [it setFrameOrigin:exactly(origin)], NSPoint origin),
        KORVEL_INSTANCE(NSView, window, [it window]),
        KORVEL_INSTANCE(NSViewController, setPreferredContentSize:, [it setPreferredContentSize:exactly(size)], NSSize size),
        KORVEL_INSTANCE(NSViewController, setView:, [it setView:exactly(view)], NSView* view),
        KORVEL_INSTANCE(NSViewController, view, [it view]),
        KORVEL_INSTANCE(NSWindow, makeKeyAndOrderFront:, [it makeKeyAndOrderFront:exactly(sender)], id sender),
        KORVEL_CLASS(NSWorkspace, sharedWorkspace, [NSWorkspace sharedWorkspace]),
        KORVEL_INSTANCE(NSWorkspace, activateFileViewerSelectingURLs:, [it activateFileViewerSelectingURLs:exactly(urls)], NSArray* urls),
        KORVEL_INSTANCE(NSWorkspace, frontmostApplication, [it frontmostApplication]),

        // Called by AppKit, if they are there
        KORVEL_PROTOCOL(NSApplicationDelegate, applicationShouldTerminate:, [it applicationShouldTerminate:exactly(application)], NSApplication* application),
        KORVEL_PROTOCOL(NSApplicationDelegate, applicationWillTerminate:, [it applicationWillTerminate:exactly(notification)], NSNotification* notification),
        KORVEL_PROTOCOL(NSPopoverDelegate, popoverDidClose:, [it popoverDidClose:exactly(notification)], NSNotification* notification),
        KORVEL_PROTOCOL(NSPopoverDelegate, popoverShouldClose:, [it popoverShouldClose:exactly(popover)], NSPopover* popover),
        KORVEL_PROTOCOL(NSPopoverDelegate, popoverWillClose:, [it popoverWillClose:exactly(notification)], NSNotification* notification),

        // QuartzCore
        KORVEL_CLASS(CATransaction, flush, [CATransaction flush]),

        // UserNotifications
        KORVEL_INSTANCE(UNMutableNotificationContent, setBody:, [it setBody:exactly(text)], NSString* text),
        KORVEL_INSTANCE(UNMutableNotificationContent, setTitle:, [it setTitle:exactly(text)], NSString* text),
        KORVEL_CLASS(UNNotificationRequest, requestWithIdentifier:content:trigger:, [UNNotificationRequest requestWithIdentifier:exactly(identifier) content:exactly(content) trigger:exactly(trigger)], NSString* identifier, UNNotificationContent* content, UNNotificationTrigger* trigger),
        KORVEL_CLASS(UNUserNotificationCenter, currentNotificationCenter, [UNUserNotificationCenter currentNotificationCenter]),
        KORVEL_INSTANCE(UNUserNotificationCenter, addNotificationRequest:withCompletionHandler:, [it addNotificationRequest:exactly(request) withCompletionHandler:exactly(handler)], UNNotificationRequest* request, void (^handler)(NSError*)),
        KORVEL_INSTANCE(UNUserNotificationCenter, requestAuthorizationWithOptions:completionHandler:, [it requestAuthorizationWithOptions:exactly(options) completionHandler:exactly(handler)], UNAuthorizationOptions options, void (^handler)(BOOL, NSError*)),
    };
}
// clang-format on

#undef KORVEL_ROW
#undef KORVEL_INSTANCE
#undef KORVEL_CLASS
#undef KORVEL_PROTOCOL

/// The encoding that the runtime has for a method; null when it has no such method.
const char* encodingInRuntime(const Declared& method, bool& ownerFound) {
    SEL selector = sel_registerName(method.selector);
    if (method.kind == Kind::protocolMethod) {
        Protocol* protocol = objc_getProtocol(method.owner);
        ownerFound = protocol != nil;
        constexpr BOOL kRequired = NO; // what this program may leave out
        constexpr BOOL kOfInstances = YES;
        return ownerFound
                   ? protocol_getMethodDescription(protocol, selector, kRequired, kOfInstances)
                         .types
                   : nullptr;
    }
    const Class owner = objc_lookUpClass(method.owner);
    ownerFound = owner != nil;
    if (!ownerFound) {
        return nullptr;
    }
    const Method found = method.kind == Kind::classMethod
                             ? class_getClassMethod(owner, selector)
                             : class_getInstanceMethod(owner, selector);
    return found != nullptr ? method_getTypeEncoding(found) : nullptr;
}

SelectorReport ask(const Declared& method) {
    SelectorReport report{method.owner, method.selector,
                          method.kind,  withoutOffsets(method.encoding),
                          {},           Answer::ok};
    bool ownerFound = false;
    const char* found = encodingInRuntime(method, ownerFound);
    if (found != nullptr) {
        report.found = withoutOffsets(found);
    }
    if (!ownerFound) {
        report.answer = Answer::classMissing;
    } else if (found == nullptr) {
        report.answer = Answer::selectorMissing;
    } else if (report.found != report.declared) {
        report.answer = Answer::encodingDiffers;
    }
    return report;
}

} // namespace

std::vector<SelectorReport> askForDeclaredSelectors() {
    std::vector<SelectorReport> reports;
    for (const Declared& method : declaredMethods()) {
        reports.push_back(ask(method));
    }
    return reports;
}

} // namespace korvel::platform
