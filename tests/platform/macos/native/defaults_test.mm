#include "platform/macos/macos_user_defaults.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "platform/defaults_suite.h"
#import "platform/macos/native/foundation/foundation.h"
#import "platform/macos/ns_string.h"

namespace korvel::platform {
namespace {

id objectOf(const StoredValue& value) {
    if (const auto* whole = std::get_if<std::int64_t>(&value)) {
        return [NSNumber numberWithLong:*whole];
    }
    if (const auto* real = std::get_if<double>(&value)) {
        return [NSNumber numberWithDouble:*real];
    }
    if (const auto* truth = std::get_if<bool>(&value)) {
        return [NSNumber numberWithBool:*truth];
    }
    return toNSString(std::get<std::string>(value));
}

std::optional<StoredValue> valueOf(id object) {
    if (object == nil) {
        return {};
    }
    if ([object isKindOfClass:[NSString class]]) {
        return toString(object);
    }
    NSNumber* number = object;
    switch (*number.objCType) {
    case 'q':
        return number.integerValue;
    case 'd':
        return number.doubleValue;
    default:
        return static_cast<bool>(number.boolValue);
    }
}

class StandardDefaultsStore final : public DefaultsStore {
  public:
    UserDefaults& launch() override {
        [NSUserDefaults endProcess];
        return defaults_.emplace();
    }

    std::optional<StoredValue> stored(const std::string& key) override {
        return valueOf([NSUserDefaults storedObjectForKey:toNSString(key)]);
    }

    void plant(const std::string& key, const StoredValue& value) override {
        [NSUserDefaults storeObject:objectOf(value) forKey:toNSString(key)];
    }

  private:
    std::optional<MacosUserDefaults> defaults_;
};

INSTANTIATE_TEST_SUITE_P(Macos, DefaultsSuite,
                         testing::Values(DefaultsBackend{
                             "Standard", [] { return std::make_unique<StandardDefaultsStore>(); }}),
                         defaultsName);

} // namespace

TEST(MacosUserDefaultsTest, WhatWasFlushedOutlivesAProcessThatIsKilled) {
    MacosUserDefaults defaults;
    defaults.set("flushed", true);
    defaults.flush();
    defaults.set("later", true);
    [NSUserDefaults killProcess];
    EXPECT_TRUE(defaults.boolean("flushed"));
    EXPECT_FALSE(defaults.has("later")) << "which is why there is a flush";
}

TEST(MacosUserDefaultsTest, ANumberIsNoText) {
    [NSUserDefaults storeObject:@50 forKey:@"number"];
    [NSUserDefaults storeObject:@[ @"text" ] forKey:@"list"];
    MacosUserDefaults defaults;
    EXPECT_EQ(defaults.string("number"), "");
    EXPECT_EQ(defaults.string("list"), "");
    EXPECT_TRUE(defaults.has("number"));
}

TEST(MacosUserDefaultsTest, AnEmptyTextIsThere) {
    MacosUserDefaults defaults;
    defaults.set("notes", std::string());
    EXPECT_TRUE(defaults.has("notes"));
    EXPECT_EQ(defaults.string("notes"), "");
}

} // namespace korvel::platform
