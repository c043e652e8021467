#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

#include <gtest/gtest.h>

#include "platform/defaults.h"

// What the settings of every system promise, and no more: a system's own may read more into a value
// of another type (a fraction that is written as a text, say). Their test includes this header in
// one file and plugs them in:
//
//     INSTANTIATE_TEST_SUITE_P(Linux, DefaultsSuite, testing::Values(backend), defaultsName);

namespace korvel::platform {

/// A stored value with the type that it is stored with.
using StoredValue = std::variant<std::int64_t, double, bool, std::string>;

/// The settings of one user, empty at first, and what is stored of them.
class DefaultsStore {
  public:
    virtual ~DefaultsStore() = default;

    /// The settings as a launch finds them: made anew at each call. None before may be used again.
    virtual UserDefaults& launch() = 0;

    /// What is stored under a key, asked past the settings' own functions; nothing where nothing
    /// is.
    virtual std::optional<StoredValue> stored(const std::string& key) = 0;

    /// Stores a value past the settings, as a copy of the program left it. Before `launch`.
    virtual void plant(const std::string& key, const StoredValue& value) = 0;
};

struct DefaultsBackend {
    std::string name; ///< letters and digits
    std::function<std::unique_ptr<DefaultsStore>()> make;
};

inline void PrintTo(const DefaultsBackend& backend, std::ostream* out) {
    *out << backend.name;
}

inline std::string defaultsName(const testing::TestParamInfo<DefaultsBackend>& info) {
    return info.param.name;
}

class DefaultsSuite : public testing::TestWithParam<DefaultsBackend> {
  protected:
    UserDefaults& launch() const { return store_->launch(); }

    /// As the program stores it, by the function of its type.
    static void set(UserDefaults& defaults, const std::string& key, const StoredValue& value) {
        std::visit([&](const auto& typed) { defaults.set(key, typed); }, value);
    }

    /// As the program reads it, by the function for that value's type.
    static StoredValue get(UserDefaults& defaults, const std::string& key, const StoredValue& as) {
        if (std::holds_alternative<std::int64_t>(as)) {
            return defaults.integer(key);
        }
        if (std::holds_alternative<double>(as)) {
            return defaults.real(key);
        }
        if (std::holds_alternative<bool>(as)) {
            return defaults.boolean(key);
        }
        return defaults.string(key);
    }

    static void expectAbsent(UserDefaults& defaults, const std::string& key) {
        EXPECT_FALSE(defaults.has(key));
        EXPECT_EQ(defaults.integer(key), 0);
        EXPECT_EQ(defaults.real(key), 0);
        EXPECT_FALSE(defaults.boolean(key));
        EXPECT_EQ(defaults.string(key), "");
    }

    const std::unique_ptr<DefaultsStore> store_ = GetParam().make();
};

TEST_P(DefaultsSuite, EveryValueComesBackWithItsTypeAtTheNextLaunch) {
    const std::vector<StoredValue> values = {
        std::int64_t{0},
        std::int64_t{1},
        std::int64_t{-42},
        std::int64_t{9007199254740993}, // no double has this value
        std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min(),
        0.0,
        5.0,
        -0.1,
        1700000000.1234567,
        std::numeric_limits<double>::max(),
        std::numeric_limits<double>::denorm_min(),
        true,
        false,
        std::string(),
        std::string("50"),
        std::string("§ \"quoted\"\\\n\t- 日本語 😀"),
    };
    for (const StoredValue& value : values) {
        SCOPED_TRACE(testing::PrintToString(value));
        UserDefaults& defaults = launch();
        set(defaults, "key", value);
        EXPECT_EQ(get(defaults, "key", value), value);
        UserDefaults& next = launch();
        EXPECT_TRUE(next.has("key"));
        EXPECT_EQ(get(next, "key", value), value);
        EXPECT_EQ(store_->stored("key"), value);
    }
}

TEST_P(DefaultsSuite, AbsentValuesAreNothing) {
    UserDefaults& defaults = launch();
    expectAbsent(defaults, "absent");
    EXPECT_EQ(store_->stored("absent"), std::nullopt) << "reading stores nothing";
    set(defaults, "other", std::int64_t{3});
    expectAbsent(defaults, "absent");
}

TEST_P(DefaultsSuite, ARemovedValueStaysAway) {
    UserDefaults& defaults = launch();
    set(defaults, "removed", std::string("text"));
    set(defaults, "other", true);
    defaults.remove("removed");
    defaults.remove("never there");
    expectAbsent(defaults, "removed");
    UserDefaults& next = launch();
    expectAbsent(next, "removed");
    expectAbsent(next, "never there");
    EXPECT_TRUE(next.boolean("other"));
}

TEST_P(DefaultsSuite, ARemovedValueCanBeStoredAgain) {
    UserDefaults& defaults = launch();
    set(defaults, "key", std::int64_t{3});
    defaults.remove("key");
    set(defaults, "key", std::int64_t{3});
    EXPECT_EQ(launch().integer("key"), 3);
}

TEST_P(DefaultsSuite, ANewValueTakesThePlaceOfOneOfAnyType) {
    const std::vector<StoredValue> values = {std::int64_t{7}, 2.5, true, std::string("text")};
    for (const StoredValue& before : values) {
        for (const StoredValue& after : values) {
            SCOPED_TRACE(testing::PrintToString(before) + " then " + testing::PrintToString(after));
            UserDefaults& defaults = launch();
            set(defaults, "key", before);
            set(defaults, "key", after);
            EXPECT_EQ(get(defaults, "key", after), after);
            EXPECT_EQ(get(launch(), "key", after), after);
            EXPECT_EQ(store_->stored("key"), after);
        }
    }
}

TEST_P(DefaultsSuite, AnEqualValueMayBeStoredAgain) {
    const std::vector<StoredValue> values = {std::int64_t{7}, 2.5, false, std::string("text")};
    for (const StoredValue& value : values) {
        SCOPED_TRACE(testing::PrintToString(value));
        set(launch(), "key", value);
        UserDefaults& defaults = launch();
        set(defaults, "key", value);
        EXPECT_EQ(get(defaults, "key", value), value);
        EXPECT_EQ(store_->stored("key"), value);
    }
}

TEST_P(DefaultsSuite, ValuesDoNotDisturbOneAnother) {
    UserDefaults& defaults = launch();
    set(defaults, "a", std::int64_t{1});
    set(defaults, "A", std::int64_t{2});
    set(defaults, "a.b", std::int64_t{3});
    set(defaults, "ab", std::int64_t{4});
    defaults.remove("a");
    UserDefaults& next = launch();
    expectAbsent(next, "a");
    EXPECT_EQ(next.integer("A"), 2);
    EXPECT_EQ(next.integer("a.b"), 3);
    EXPECT_EQ(next.integer("ab"), 4);
}

TEST_P(DefaultsSuite, AnotherTypeIsReadAsFarAsItMeansSomething) {
    const struct {
        const char* what;
        StoredValue stored;
        StoredValue read; ///< by the function for this value's type
    } cases[] = {
        {"digits as a whole number", std::string("50"), std::int64_t{50}},
        {"digits with a sign as a whole number", std::string("-7"), std::int64_t{-7}},
        {"digits as a real number", std::string("50"), 50.0},
        {"a word as a whole number", std::string("many"), std::int64_t{0}},
        {"a word as a real number", std::string("many"), 0.0},
        {"no text as a whole number", std::string(), std::int64_t{0}},
        {"yes as a whole number", true, std::int64_t{1}},
        {"no as a whole number", false, std::int64_t{0}},
        {"yes as a real number", true, 1.0},
        {"no as a real number", false, 0.0},
        {"a positive real number loses its fraction", 50.9, std::int64_t{50}},
        {"a negative real number loses its fraction", -3.5, std::int64_t{-3}},
        {"less than one is no whole number", 0.9, std::int64_t{0}},
        {"a whole number as a real one", std::int64_t{50}, 50.0},
        {"zero as a real number", std::int64_t{0}, 0.0},
        {"a whole number as a text", std::int64_t{50}, std::string()},
        {"a real number as a text", 2.5, std::string()},
        {"yes as a text", true, std::string()},
        {"zero as a truth", std::int64_t{0}, false},
        {"one as a truth", std::int64_t{1}, true},
        {"any other number as a truth", std::int64_t{-2}, true},
        {"a real zero as a truth", 0.0, false},
        {"a real number as a truth", 2.5, true},
        {"the digit one as a truth", std::string("1"), true},
        {"the digit zero as a truth", std::string("0"), false},
        {"a word as a truth", std::string("many"), false},
    };
    for (const auto& one : cases) {
        set(launch(), "key", one.stored);
        EXPECT_EQ(get(launch(), "key", one.read), one.read) << one.what;
    }
}

TEST_P(DefaultsSuite, WhatAnInstalledCopyStoredIsRead) {
    const struct {
        const char* key;
        StoredValue stored;
        StoredValue read;
    } cases[] = {
        {"lastNotifiedScore", std::int64_t{54}, std::int64_t{54}},
        {"lastNotifiedAt", 1700000000.25, 1700000000.25},
        {"awakeOn", true, true},
        {"awakeUntil", 1700003600.5, 1700003600.5},
        {"lastUpdateCheck", 1700000123.125, 1700000123.125},
        {"pendingReleaseNotes", std::string("• One\n• Two"), std::string("• One\n• Two")},
        {"seenBuild", std::int64_t{41}, std::int64_t{41}},
        {"seenVersion", std::string("1.3.9"), std::string("1.3.9")},
        {"whatsNewAutoShownBuild", std::int64_t{42}, std::int64_t{42}},
    };
    for (const auto& one : cases) {
        store_->plant(one.key, one.stored);
    }
    UserDefaults& defaults = launch();
    for (const auto& one : cases) {
        EXPECT_TRUE(defaults.has(one.key)) << one.key;
        EXPECT_EQ(get(defaults, one.key, one.read), one.read) << one.key;
        EXPECT_EQ(store_->stored(one.key), one.stored) << one.key << ": reading changes nothing";
    }
}

TEST_P(DefaultsSuite, AKeepAwakeWithoutAnEndIsAWholeZeroThatIsThere) {
    store_->plant("awakeOn", true);
    store_->plant("awakeUntil", std::int64_t{0});
    UserDefaults& defaults = launch();
    EXPECT_TRUE(defaults.boolean("awakeOn"));
    EXPECT_TRUE(defaults.has("awakeUntil"));
    EXPECT_EQ(defaults.real("awakeUntil"), 0);
}

} // namespace korvel::platform
