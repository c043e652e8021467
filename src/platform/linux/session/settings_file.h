#pragma once

#include <string>

#include <QJsonObject>
#include <QString>

#include "base/result.h"
#include "platform/defaults.h"

namespace korvel::platform {

/// What can be wrong with the file of the settings, whose path is an error's subject.
enum class SettingsFault {
    unreadable, ///< it is there and cannot be read; the detail is the system's
    foreign,    ///< it holds something else, or more than settings could be
    unwritable, ///< it cannot be written; the detail is the system's
};

/// Settings in one small JSON file that keeps each value with its type, such as
/// {"awakeUntil":{"double":1700000000.5}}. It is read once, and each change is written at once, to
/// the side and then over it, so that there is always a whole one. It holds no more than 1 MiB: a
/// value with which it would is not stored, and what was stored before stays. A file that is larger
/// is not of this program, and not read. A file that cannot be read as
/// such, for whatever reason, is kept beside it, as "FILE.broken", when the first value is stored.
/// A folder that cannot be written keeps nothing; the values then live as long as the program.
class SettingsFile final : public UserDefaults {
  public:
    explicit SettingsFile(QString file = standardFile());

    /// korvel/defaults.json in the user's configuration folder: XDG_CONFIG_HOME, or .config at home
    /// where that is no absolute path.
    static QString standardFile();

    /// The folder that it is in, which need not be there.
    static std::string folder();

    std::int64_t integer(const std::string& key) override;
    double real(const std::string& key) override;
    bool boolean(const std::string& key) override;
    std::string string(const std::string& key) override;
    bool has(const std::string& key) override;

    void set(const std::string& key, std::int64_t value) override;
    void set(const std::string& key, double value) override;
    void set(const std::string& key, bool value) override;
    void set(const std::string& key, const std::string& value) override;
    void remove(const std::string& key) override;

    /// What was wrong with the file when it was last read or written. The program goes on as it is
    /// said above, and tells nobody.
    const Status<SettingsFault>& fileStatus() const { return fileStatus_; }

  private:
    Status<SettingsFault> load();
    void store(const std::string& key, const char* type, const QJsonValue& value);
    void save(const QJsonObject& values);
    Status<SettingsFault> write(const QByteArray& bytes) const;

    QString file_;
    QJsonObject values_;
    Status<SettingsFault> fileStatus_;
    bool isUnread_; ///< what lies there could not be read, and is put aside before anything is
                    ///< stored
};

} // namespace korvel::platform
