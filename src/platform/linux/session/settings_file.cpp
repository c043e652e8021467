#include "platform/linux/session/settings_file.h"

#include <cerrno>
#include <cmath>
#include <optional>
#include <system_error>
#include <utility>

#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QSaveFile>

#include "platform/posix/file_descriptor.h"
#include "platform/posix/files.h"
#include "platform/posix/whole_file.h"

namespace korvel::platform {

namespace {

constexpr const char* kInteger = "integer";
constexpr const char* kDouble = "double";
constexpr const char* kBool = "bool";
constexpr const char* kString = "string";
/// Bytes. The notes of a release take 64 KiB, or 384 if every character is written as six; all else
/// that the program stores takes some hundreds of bytes.
constexpr std::int64_t kLargestFile = 1 << 20;

/// A stored value of that type; undefined where it is of another.
QJsonValue typed(const QJsonObject& values, const std::string& key, const char* type) {
    return values.value(QString::fromStdString(key)).toObject().value(QLatin1String(type));
}

Error<SettingsFault> faultOf(SettingsFault fault, const QFileDevice& file) {
    return {fault, file.fileName().toStdString(), file.errorString().toStdString()};
}

} // namespace

SettingsFile::SettingsFile(QString file)
    : file_(std::move(file)), fileStatus_(load()), isUnread_(!fileStatus_) {}

QString SettingsFile::standardFile() {
    // Qt follows a path that is not absolute too, into whatever folder the program was started in,
    // and takes the root folder for the home of who has none set.
    const QByteArray set = qgetenv("XDG_CONFIG_HOME");
    const std::string folder =
        set.startsWith('/') ? set.toStdString() : PosixFiles().homeDirectory() + "/.config";
    return QDir::cleanPath(QFile::decodeName(folder.c_str())) +
           QStringLiteral("/korvel/defaults.json");
}

std::string SettingsFile::folder() {
    return QFile::encodeName(QFileInfo(standardFile()).path()).toStdString();
}

Status<SettingsFault> SettingsFile::load() {
    // Not by Qt, to which a file that the system will not tell of is none.
    const std::string path = QFile::encodeName(file_).toStdString();
    const FileDescriptor file = openFile(path);
    if (!file && (errno == ENOENT || errno == ENOTDIR)) {
        return {};
    }
    const std::optional<std::string> bytes =
        file ? readAll(file.get(), std::uint64_t{kLargestFile}) : std::nullopt;
    if (!bytes) {
        // Of another kind, as a pipe, or too large.
        const bool isForeign = errno == EINVAL || errno == EFBIG;
        return isForeign ? Error{SettingsFault::foreign, file_.toStdString()}
                         : Error{SettingsFault::unreadable, file_.toStdString(),
                                 std::generic_category().message(errno)};
    }
    const QJsonDocument document = QJsonDocument::fromJson(QByteArray::fromStdString(*bytes));
    if (!document.isObject()) {
        return Error{SettingsFault::foreign, file_.toStdString()};
    }
    values_ = document.object();
    return {};
}

double SettingsFile::real(const std::string& key) {
    const QJsonValue whole = typed(values_, key, kInteger);
    if (whole.isDouble()) {
        return static_cast<double>(whole.toInteger());
    }
    if (typed(values_, key, kBool).toBool()) {
        return 1;
    }
    if (const QJsonValue text = typed(values_, key, kString); text.isString()) {
        return static_cast<double>(text.toString().toLongLong());
    }
    return typed(values_, key, kDouble).toDouble();
}

std::int64_t SettingsFile::integer(const std::string& key) {
    const QJsonValue whole = typed(values_, key, kInteger);
    if (whole.isDouble()) {
        return whole.toInteger();
    }
    constexpr double kBound = 0x1p63;
    const double number = real(key);
    return std::abs(number) < kBound ? static_cast<std::int64_t>(number) : 0;
}

bool SettingsFile::boolean(const std::string& key) {
    const QJsonValue flag = typed(values_, key, kBool);
    if (flag.isBool()) {
        return flag.toBool();
    }
    return typed(values_, key, kInteger).toInteger() != 0 ||
           typed(values_, key, kDouble).toDouble() != 0 ||
           typed(values_, key, kString).toString().toLongLong() != 0;
}

std::string SettingsFile::string(const std::string& key) {
    return typed(values_, key, kString).toString().toStdString();
}

bool SettingsFile::has(const std::string& key) {
    return values_.contains(QString::fromStdString(key));
}

void SettingsFile::set(const std::string& key, std::int64_t value) {
    store(key, kInteger, QJsonValue(static_cast<qint64>(value)));
}

void SettingsFile::set(const std::string& key, double value) {
    store(key, kDouble, value);
}

void SettingsFile::set(const std::string& key, bool value) {
    store(key, kBool, value);
}

void SettingsFile::set(const std::string& key, const std::string& value) {
    store(key, kString, QString::fromStdString(value));
}

void SettingsFile::store(const std::string& key, const char* type, const QJsonValue& value) {
    const QJsonObject stored{{QLatin1String(type), value}};
    QJsonObject values = values_;
    QJsonValueRef entry = values[QString::fromStdString(key)];
    if (entry.toObject() != stored) {
        entry = stored;
        save(values);
    }
}

void SettingsFile::remove(const std::string& key) {
    const QString name = QString::fromStdString(key);
    if (values_.contains(name)) {
        QJsonObject values = values_;
        values.remove(name);
        save(values);
    }
}

void SettingsFile::save(const QJsonObject& values) {
    const QByteArray bytes = QJsonDocument(values).toJson(QJsonDocument::Compact);
    if (bytes.size() > kLargestFile) {
        return;
    }
    values_ = values;
    QDir().mkpath(QFileInfo(file_).path());
    const QString aside = file_ + QStringLiteral(".broken");
    if (isUnread_) {
        QFile::remove(aside);
        QFile::rename(file_, aside);
    }
    fileStatus_ = write(bytes);
    if (isUnread_ && !fileStatus_) {
        QFile::rename(aside, file_);
    }
    isUnread_ = isUnread_ && !fileStatus_;
}

Status<SettingsFault> SettingsFile::write(const QByteArray& bytes) const {
    QSaveFile file(file_);
    if (!file.open(QIODevice::WriteOnly)) {
        return faultOf(SettingsFault::unwritable, file);
    }
    file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    // Asked for here: what the disk has no room for, commit() leaves out, and still puts the file
    // over the one that was whole.
    if (file.write(bytes) != bytes.size() || !file.flush() || ::fsync(file.handle()) != 0) {
        return faultOf(SettingsFault::unwritable, file);
    }
    return file.commit() ? Status<SettingsFault>() : faultOf(SettingsFault::unwritable, file);
}

} // namespace korvel::platform
