#include "platform/linux/session/settings_file.h"

#include <array>
#include <csignal>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

#include "platform/defaults_suite.h"

namespace korvel::platform {
namespace {

class SettingsFileTest : public testing::Test {
  protected:
    SettingsFile open() const { return SettingsFile(path_); }
    void write(const QByteArray& bytes) const {
        QDir().mkpath(folder_.filePath("below"));
        QFile file(path_);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }
    QByteArray read(const QString& suffix = QString()) const {
        QFile file(path_ + suffix);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
    }

    QTemporaryDir folder_;
    QString path_ = folder_.filePath("below/defaults.json");
};

/// The file as the suite of all settings sees it: its values are read and planted as JSON.
class FileStore final : public DefaultsStore {
  public:
    UserDefaults& launch() override { return defaults_.emplace(path_); }

    std::optional<StoredValue> stored(const std::string& key) override {
        const QJsonObject entry = whole()[QString::fromStdString(key)].toObject();
        if (entry.size() != 1) {
            return {};
        }
        const QString type = entry.begin().key();
        const QJsonValue value = entry.begin().value();
        if (type == u"integer") {
            return std::int64_t{value.toInteger()};
        }
        if (type == u"double") {
            return value.toDouble();
        }
        if (type == u"bool") {
            return value.toBool();
        }
        return type == u"string" ? std::optional<StoredValue>(value.toString().toStdString())
                                 : std::nullopt;
    }

    void plant(const std::string& key, const StoredValue& value) override {
        constexpr std::array kTypes = {"integer", "double", "bool", "string"};
        QJsonObject values = whole();
        values[QString::fromStdString(key)] =
            QJsonObject{{QLatin1String(kTypes.at(value.index())), json(value)}};
        QFile file(path_);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QJsonDocument(values).toJson());
    }

  private:
    QJsonObject whole() const {
        QFile file(path_);
        return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                              : QJsonObject();
    }

    static QJsonValue json(const StoredValue& value) {
        if (const auto* whole = std::get_if<std::int64_t>(&value)) {
            return static_cast<qint64>(*whole);
        }
        if (const auto* text = std::get_if<std::string>(&value)) {
            return QString::fromStdString(*text);
        }
        const auto* real = std::get_if<double>(&value);
        return real != nullptr ? QJsonValue(*real) : QJsonValue(std::get<bool>(value));
    }

    QTemporaryDir folder_;
    QString path_ = folder_.filePath("defaults.json");
    std::optional<SettingsFile> defaults_;
};

INSTANTIATE_TEST_SUITE_P(File, DefaultsSuite,
                         testing::Values(DefaultsBackend{
                             "Json", [] { return std::make_unique<FileStore>(); }}),
                         defaultsName);

TEST_F(SettingsFileTest, EachValueStandsInTheFileUnderItsType) {
    SettingsFile defaults = open();
    defaults.set("zero", std::int64_t{0});
    defaults.set("round", 5.0);
    defaults.set("flag", true);
    defaults.set("text", std::string("\"quoted\""));
    EXPECT_EQ(read(),
              R"({"flag":{"bool":true},"round":{"double":5},"text":{"string":"\"quoted\""},)"
              R"("zero":{"integer":0}})");
}

TEST_F(SettingsFileTest, ReadingWritesNothing) {
    SettingsFile defaults = open();
    EXPECT_EQ(defaults.integer("a"), 0);
    defaults.remove("a");
    EXPECT_EQ(read(), "none");
}

TEST_F(SettingsFileTest, ANumberThatNoOtherTypeHoldsIsNothingAsThatType) {
    SettingsFile defaults = open();
    defaults.set("large", 1e300);
    defaults.set("fraction", 0.5);
    EXPECT_EQ(defaults.integer("large"), 0);
    EXPECT_TRUE(defaults.boolean("fraction"));
}

TEST_F(SettingsFileTest, WhatIsNoNumberIsAbsentAfterARestart) {
    open().set("a", std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(open().real("a"), 0);
}

TEST_F(SettingsFileTest, WhatWouldNotBeReadAtTheNextLaunchIsNotStored) {
    constexpr std::size_t kLargest = std::size_t{1} << 20; // bytes of the file
    constexpr std::size_t kShortOfThat = kLargest - 20;
    const struct {
        const char* name;
        std::string value;
    } cases[] = {
        {"as long as a feed may be", std::string(kLargest, 'n')},
        {"nearly so", std::string(kShortOfThat, 'n')},
        {"of characters that are written as six bytes", std::string(kLargest / 6, '\1')},
        {"of characters that are written as two bytes", std::string(kLargest / 2, '"')},
    };
    for (const auto& one : cases) {
        SettingsFile defaults = open();
        defaults.set("seenBuild", std::int64_t{42});
        defaults.set("notes", std::string("before"));
        const QByteArray before = read();
        defaults.set("notes", one.value);
        defaults.set("version", one.value);
        EXPECT_EQ(defaults.string("notes"), "before") << one.name;
        EXPECT_FALSE(defaults.has("version")) << one.name;
        EXPECT_EQ(read(), before) << one.name;
        EXPECT_TRUE(defaults.fileStatus()) << one.name;
        defaults.set("seenBuild", std::int64_t{43});
        SettingsFile next = open();
        EXPECT_TRUE(next.fileStatus()) << one.name;
        EXPECT_EQ(next.integer("seenBuild"), 43) << one.name;
        EXPECT_EQ(next.string("notes"), "before") << one.name;
    }
}

TEST_F(SettingsFileTest, ItIsFilledToTheLastByteThatIsRead) {
    SettingsFile defaults = open();
    defaults.set("a", std::string());
    const std::size_t room = (std::size_t{1} << 20) - static_cast<std::size_t>(read().size());
    defaults.set("a", std::string(room + 1, 'x'));
    EXPECT_EQ(defaults.string("a"), "");
    defaults.set("a", std::string(room, 'x'));
    EXPECT_EQ(read().size(), 1 << 20);
    EXPECT_EQ(open().string("a"), std::string(room, 'x'));
    defaults.set("b", true);
    EXPECT_FALSE(defaults.has("b"));
    defaults.remove("a");
    defaults.set("b", true);
    EXPECT_TRUE(open().boolean("b"));
}

TEST_F(SettingsFileTest, AFileThatIsTooLargeIsKeptAside) {
    const QByteArray large = "{\"a\":{\"string\":\"" + QByteArray(1 << 20, 'x') + "\"}}";
    write(large);
    SettingsFile defaults = open();
    EXPECT_EQ(defaults.fileStatus(), (Error{SettingsFault::foreign, path_.toStdString()}));
    EXPECT_FALSE(defaults.has("a"));
    defaults.set("b", std::string(1 << 20, 'x'));
    EXPECT_EQ(read(), large) << "nothing was stored, so nothing is moved";
    defaults.set("b", true);
    EXPECT_EQ(read(".broken"), large);
    EXPECT_TRUE(open().boolean("b"));
}

class DamagedFile : public SettingsFileTest, public testing::WithParamInterface<const char*> {};

TEST_P(DamagedFile, IsKeptAsideWhenTheFirstValueIsStored) {
    const QByteArray bytes(GetParam());
    write(bytes);
    SettingsFile defaults = open();
    EXPECT_EQ(defaults.fileStatus(), (Error{SettingsFault::foreign, path_.toStdString()}));
    EXPECT_EQ(defaults.integer("a"), 0);
    EXPECT_EQ(read(), bytes) << "reading changes nothing";
    defaults.set("a", std::int64_t{3});
    EXPECT_EQ(read(".broken"), bytes);
    EXPECT_TRUE(defaults.fileStatus());
    EXPECT_EQ(open().integer("a"), 3);
}

INSTANTIATE_TEST_SUITE_P(Contents, DamagedFile,
                         testing::Values("", "{", "[1,2]", "\xff\xfe", "{\"a\":{\"integer\":7}"));

TEST_F(SettingsFileTest, EntriesOfAnotherShapeAreNothing) {
    write(R"({"a":5,"b":{"integer":"5"},"c":{"double":null},"d":{"unknown":1},"e":null})");
    SettingsFile defaults = open();
    for (const char* key : {"a", "b", "c", "d", "e"}) {
        EXPECT_EQ(defaults.integer(key), 0) << key;
        EXPECT_FALSE(defaults.boolean(key)) << key;
    }
}

TEST_F(SettingsFileTest, AnEqualValueIsNotWrittenAgain) {
    SettingsFile defaults = open();
    defaults.set("a", std::int64_t{3});
    ASSERT_TRUE(QFile::remove(path_));
    defaults.set("a", std::int64_t{3});
    EXPECT_EQ(read(), "none");
    defaults.set("a", 3.0);
    EXPECT_NE(read(), "none") << "of another type it is another value";
}

TEST_F(SettingsFileTest, AFolderThatCannotBeMadeKeepsTheValuesForThisRun) {
    QFile inTheWay(folder_.filePath("below"));
    ASSERT_TRUE(inTheWay.open(QIODevice::WriteOnly));
    SettingsFile defaults = open();
    EXPECT_TRUE(defaults.fileStatus()) << "there is none to be read";
    for (const std::int64_t value : {3, 4}) {
        defaults.set("a", value);
        EXPECT_EQ(defaults.integer("a"), value);
        ASSERT_FALSE(defaults.fileStatus());
        EXPECT_EQ(defaults.fileStatus().error().code, SettingsFault::unwritable);
        EXPECT_EQ(defaults.fileStatus().error().subject, path_.toStdString());
        EXPECT_NE(defaults.fileStatus().error().detail, "");
    }
    ASSERT_TRUE(inTheWay.remove());
    defaults.set("a", std::int64_t{5});
    EXPECT_TRUE(defaults.fileStatus());
    EXPECT_EQ(open().integer("a"), 5);
}

TEST_F(SettingsFileTest, WhatNoLongerFitsTheDiskLeavesTheFileAsItWas) {
    SettingsFile defaults = open();
    defaults.set("a", std::int64_t{3});
    const QByteArray whole = read();

    // Longer files are refused as by a full disk; the signal would end the process.
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit none{0, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
    defaults.set("a", std::int64_t{4});
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);

    EXPECT_EQ(read(), whole);
    ASSERT_FALSE(defaults.fileStatus());
    EXPECT_EQ(defaults.fileStatus().error().code, SettingsFault::unwritable);
    EXPECT_EQ(defaults.integer("a"), 4) << "for this run";
    defaults.set("b", std::int64_t{5});
    EXPECT_EQ(open().integer("a"), 4);
}

TEST_F(SettingsFileTest, ItsFolderIsTheOneThatIsSetOrTheOneAtHome) {
    const QByteArray home = qgetenv("HOME");
    const QByteArray config = qgetenv("XDG_CONFIG_HOME");
    const std::string account = ::getpwuid(::getuid())->pw_dir;
    const struct {
        const char* home;
        const char* config;
        std::string folder;
    } cases[] = {{"/h", "/c", "/c"},
                 {"/h", "/c//d/", "/c/d"},
                 {"/h", "", "/h/.config"},
                 {"/h", nullptr, "/h/.config"},
                 {"/h", "relative", "/h/.config"},
                 {"/h", "./relative", "/h/.config"},
                 {nullptr, nullptr, account + "/.config"},
                 {"", "relative", account + "/.config"},
                 {"h", nullptr, account + "/.config"},
                 {nullptr, "/c", "/c"}};
    for (const auto& row : cases) {
        row.home ? qputenv("HOME", row.home) : qunsetenv("HOME");
        row.config ? qputenv("XDG_CONFIG_HOME", row.config) : qunsetenv("XDG_CONFIG_HOME");
        EXPECT_EQ(SettingsFile::standardFile().toStdString(), row.folder + "/korvel/defaults.json");
        EXPECT_EQ(SettingsFile::folder(), row.folder + "/korvel");
    }
    qputenv("HOME", home);
    config.isNull() ? qunsetenv("XDG_CONFIG_HOME") : qputenv("XDG_CONFIG_HOME", config);
}

TEST_F(SettingsFileTest, APipeInItsPlaceIsNotWaitedForAndIsKeptAsideToo) {
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path_).path()));
    ASSERT_EQ(::mkfifo(QFile::encodeName(path_).constData(), 0600), 0);
    SettingsFile defaults = open();
    EXPECT_EQ(defaults.fileStatus(), (Error{SettingsFault::foreign, path_.toStdString()}));
    defaults.set("a", std::int64_t{3});
    EXPECT_TRUE(QFileInfo::exists(path_ + ".broken"));
    EXPECT_EQ(open().integer("a"), 3);
}

TEST_F(SettingsFileTest, AFileThatTheSystemDoesNotTellOfIsKeptAside) {
    // A link to itself cannot be followed; that is not to say that nothing is there.
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path_).path()));
    ASSERT_TRUE(QFile::link(path_, path_));
    SettingsFile defaults = open();
    ASSERT_FALSE(defaults.fileStatus());
    EXPECT_EQ(defaults.fileStatus().error().code, SettingsFault::unreadable);
    EXPECT_EQ(defaults.fileStatus().error().subject, path_.toStdString());
    EXPECT_NE(defaults.fileStatus().error().detail, "");
    defaults.set("a", std::int64_t{3});
    EXPECT_TRUE(QFileInfo(path_ + ".broken").isSymLink());
    EXPECT_EQ(open().integer("a"), 3);
}

TEST_F(SettingsFileTest, WhatIsKeptAsideIsBackWhereNothingCanBeStored) {
    const QByteArray foreign("not settings");
    write(foreign);
    SettingsFile defaults = open();
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit none{0, before.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
    defaults.set("a", std::int64_t{3});
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(read(), foreign);
    EXPECT_EQ(defaults.fileStatus().error().code, SettingsFault::unwritable);
    defaults.set("a", std::int64_t{4});
    EXPECT_EQ(read(".broken"), foreign);
    EXPECT_EQ(open().integer("a"), 4);
}

TEST_F(SettingsFileTest, AFolderInItsPlaceIsKeptAsideToo) {
    ASSERT_TRUE(QDir().mkpath(path_));
    SettingsFile defaults = open();
    ASSERT_FALSE(defaults.fileStatus());
    EXPECT_EQ(defaults.fileStatus().error().code, SettingsFault::unreadable);
    EXPECT_NE(defaults.fileStatus().error().detail, "");
    defaults.set("a", std::int64_t{3});
    EXPECT_TRUE(QDir(path_ + ".broken").exists());
    EXPECT_EQ(open().integer("a"), 3);
}

} // namespace
} // namespace korvel::platform
