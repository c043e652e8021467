#include "platform/macos/macos_notifications.h"

#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>

#import "platform/macos/ns_string.h"

namespace korvel::platform {

namespace {

/// nil for a program without an identifier, for which the centre raises an exception.
UNUserNotificationCenter* notificationCentre() {
    if (NSBundle.mainBundle.bundleIdentifier == nil) {
        return nil;
    }
    return [UNUserNotificationCenter currentNotificationCenter];
}

} // namespace

void MacosNotifications::requestAuthorisation() {
    [notificationCentre()
        requestAuthorizationWithOptions:UNAuthorizationOptionAlert | UNAuthorizationOptionSound
                      completionHandler:^(BOOL, NSError*){
                      }];
}

void MacosNotifications::post(const Notification& notification) {
    UNMutableNotificationContent* content = [[UNMutableNotificationContent alloc] init];
    content.title = toNSString(notification.title);
    content.body = toNSString(notification.body);
    UNNotificationRequest* request =
        [UNNotificationRequest requestWithIdentifier:toNSString(notification.identifier)
                                             content:content
                                             trigger:nil];
    [notificationCentre() addNotificationRequest:request withCompletionHandler:nil];
}

} // namespace korvel::platform
