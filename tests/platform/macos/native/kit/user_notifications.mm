#import "platform/macos/native/kit/appkit.h"

#include "platform/macos/native/runtime/objects.h"
#import "platform/macos/ns_string.h"

using korvel::kit::desktop;
using korvel::platform::toString;

@implementation UNNotificationContent

/// The request has the content as it is now, whatever becomes of that one later.
- (id)copyWithZone:(void*)zone {
    return [[UNNotificationContent alloc] init];
}

@end

@implementation UNMutableNotificationContent {
    NSString* title_;
    NSString* body_;
}

- (NSString*)title {
    return title_;
}

- (void)setTitle:(NSString*)title {
    title_ = title;
}

- (NSString*)body {
    return body_;
}

- (void)setBody:(NSString*)body {
    body_ = body;
}

- (id)copyWithZone:(void*)zone {
    UNMutableNotificationContent* copy = [[UNMutableNotificationContent alloc] init];
    copy->title_ = title_;
    copy->body_ = body_;
    return copy;
}

@end

@implementation UNNotificationRequest {
    NSString* identifier_;
    UNNotificationContent* content_;
    UNNotificationTrigger* trigger_;
}

+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(UNNotificationTrigger*)trigger {
    if (identifier == nil || content == nil) {
        korvel::objc::misuse("a request has an identifier and a content");
    }
    UNNotificationRequest* request = [[UNNotificationRequest alloc] init];
    request->identifier_ = identifier;
    request->content_ = [content copy];
    request->trigger_ = trigger;
    return request;
}

- (NSString*)identifier {
    return identifier_;
}

- (UNNotificationContent*)content {
    return content_;
}

- (UNNotificationTrigger*)trigger {
    return trigger_;
}

@end

@implementation UNUserNotificationCenter

+ (UNUserNotificationCenter*)currentNotificationCenter {
    if (NSBundle.mainBundle.bundleIdentifier == nil) {
        korvel::objc::misuse("the notification centre knows programs by their bundle");
    }
    if (desktop().notificationCentre == nil) {
        desktop().notificationCentre = [[UNUserNotificationCenter alloc] init];
    }
    return desktop().notificationCentre;
}

- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* error))completionHandler {
    if (completionHandler == nil) {
        korvel::objc::misuse("the answer to a request for authorisation goes somewhere");
    }
    desktop().askedOptions.push_back(options);
    completionHandler(desktop().allowsNotifications, nil);
}

- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(void (^)(NSError* error))completionHandler {
    auto* content = static_cast<UNMutableNotificationContent*>(request.content);
    desktop().posted.push_back({.identifier = toString(request.identifier),
                                .title = toString(content.title),
                                .body = toString(content.body),
                                .atOnce = request.trigger == nil,
                                .shown = desktop().allowsNotifications});
    if (completionHandler != nil) {
        completionHandler(nil);
    }
}

@end
