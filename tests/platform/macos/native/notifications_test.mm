#include "platform/macos/macos_notifications.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/native/kit/appkit.h"

namespace korvel {
namespace {

using platform::MacosNotifications;
using testing::ElementsAre;
using testing::IsEmpty;

class NotificationsOnAppKit : public testing::Test {
  protected:
    NotificationsOnAppKit() {
        [NSBundle runFrom:@"/Applications/Korvel.app"
               identifier:@"example.korvel"
                     info:[[NSDictionary alloc] init]];
    }

    static void leaveTheBundle() {
        [NSBundle runFrom:@"/usr/local/bin" identifier:nil info:[[NSDictionary alloc] init]];
    }

    MacosNotifications notifications;
};

TEST_F(NotificationsOnAppKit, AsksForAlertsAndSound) {
    notifications.requestAuthorisation();
    EXPECT_THAT(kit::desktop().askedOptions, ElementsAre(6U));
}

TEST_F(NotificationsOnAppKit, PostsTitleBodyAndIdentifierAtOnce) {
    notifications.post({.identifier = "4B6F7276-656C",
                        .title = "Mac slowing down: score 38",
                        .body = "Disk nearly full"});
    ASSERT_EQ(kit::desktop().posted.size(), 1U);
    const kit::Posted& posted = kit::desktop().posted.front();
    EXPECT_EQ(posted.identifier, "4B6F7276-656C");
    EXPECT_EQ(posted.title, "Mac slowing down: score 38");
    EXPECT_EQ(posted.body, "Disk nearly full");
    EXPECT_TRUE(posted.atOnce);
    EXPECT_TRUE(posted.shown);
}

TEST_F(NotificationsOnAppKit, PostsToTheCentreThatWillNotShowIt) {
    kit::desktop().allowsNotifications = false;
    notifications.requestAuthorisation();
    notifications.post({.identifier = "1", .title = "t", .body = "b"});
    ASSERT_EQ(kit::desktop().posted.size(), 1U);
    EXPECT_FALSE(kit::desktop().posted.front().shown);
}

TEST_F(NotificationsOnAppKit, PostsWithoutHavingAsked) {
    notifications.post({.identifier = "1", .title = "t", .body = "b"});
    EXPECT_EQ(kit::desktop().posted.size(), 1U);
    EXPECT_THAT(kit::desktop().askedOptions, IsEmpty());
}

TEST_F(NotificationsOnAppKit, OutsideABundleNothingIsAskedAndNothingPosted) {
    leaveTheBundle();
    notifications.requestAuthorisation();
    notifications.post({.identifier = "1", .title = "t", .body = "b"});
    EXPECT_THAT(kit::desktop().askedOptions, IsEmpty());
    EXPECT_TRUE(kit::desktop().posted.empty());
}

TEST_F(NotificationsOnAppKit, TheCentreRefusesAProgramOutsideABundle) {
    leaveTheBundle();
    EXPECT_DEATH([UNUserNotificationCenter currentNotificationCenter], "knows programs by");
}

} // namespace
} // namespace korvel
