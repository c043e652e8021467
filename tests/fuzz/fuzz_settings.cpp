#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

#include "fuzz/fuzz.h"
#include "fuzz/work_folder.h"
#include "platform/linux/session/settings_file.h"

namespace fs = std::filesystem;

namespace {

using korvel::platform::SettingsFault;
using korvel::platform::SettingsFile;

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The first keys of the file, if it holds settings; without those that no UTF-8 stands for.
std::vector<std::string> keysOf(std::string_view bytes) {
    constexpr qsizetype kMost = 8;
    const auto document =
        QJsonDocument::fromJson(QByteArray(bytes.data(), static_cast<qsizetype>(bytes.size())));
    std::vector<std::string> keys;
    for (const QString& key : document.object().keys().first(
             std::min(kMost, static_cast<qsizetype>(document.object().size())))) {
        if (QString::fromStdString(key.toStdString()) == key) {
            keys.push_back(key.toStdString());
        }
    }
    return keys;
}

void requireSense(SettingsFile& settings, const std::string& key) {
    const double real = settings.real(key);
    const std::int64_t integer = settings.integer(key);
    require(std::isfinite(real), "every number is finite");
    require(settings.has(key) || (real == 0 && integer == 0 && !settings.boolean(key) &&
                                  settings.string(key).empty()),
            "what is not there is 0, false and empty");
    constexpr double kBound = 0x1p53; // beyond it a double does not hold every integer
    if (std::abs(real) < kBound) {
        require(static_cast<double>(integer) == std::trunc(real), "an integer is the number cut");
    }
}

bool areAlike(SettingsFile& one, SettingsFile& other, const std::string& key) {
    return one.has(key) == other.has(key) && one.integer(key) == other.integer(key) &&
           one.real(key) == other.real(key) && one.boolean(key) == other.boolean(key) &&
           one.string(key) == other.string(key);
}

/// Stores values beside those that were read, and reads all of them again.
void requireKept(SettingsFile& settings, const fs::path& file, std::string_view bytes,
                 const std::vector<std::string>& keys) {
    const bool wasForeign = !settings.fileStatus();
    const auto size = static_cast<std::int64_t>(bytes.size());
    settings.set("an integer", INT64_MAX - size);
    settings.set("a text", std::string(bytes));
    require(bool(settings.fileStatus()), "what is stored is written");
    SettingsFile again(QString::fromStdString(file.string()));
    require(bool(again.fileStatus()), "what was written is read");
    require(again.integer("an integer") == INT64_MAX - size, "every integer is kept");
    require(again.string("a text") == settings.string("a text"), "every text is kept");
    for (const std::string& key : keys) {
        require(areAlike(settings, again, key), "what else was there is kept");
    }
    const fs::path broken = file.string() + ".broken";
    require(fs::exists(broken) == wasForeign, "what cannot be read is put aside");
    require(!wasForeign || bytesOf(broken) == bytes, "as it was");
}

} // namespace

// A file of any bytes is settings, each of one value under all types, or put aside whole once one
// is stored.
void fuzz(std::string_view bytes) {
    const WorkFolder folder;
    const fs::path file = folder.path() / "defaults.json";
    std::ofstream(file, std::ios::binary) << bytes;
    SettingsFile settings(QString::fromStdString(file.string()));
    const std::vector<std::string> keys = keysOf(bytes);
    for (const std::string& key : keys) {
        require(settings.has(key), "every key is there");
        requireSense(settings, key);
    }
    requireSense(settings, "no such key");
    require(bool(settings.fileStatus()) ||
                settings.fileStatus().error().code == SettingsFault::foreign,
            "settings or something else");
    requireKept(settings, file, bytes, keys);
}
