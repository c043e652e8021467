#pragma once

#include <string>

#include <QJsonObject>
#include <QString>

#include "platform/defaults.h"

namespace korvel::platform {

/// Settings in one small JSON file that keeps each value with its type, such as
/// {"awakeUntil":{"double":1700000000.5}}. It is read once, and each change is written at once, to
/// the side and then over it, so that there is always a whole one. A file that cannot be read as
/// such is kept beside it, as "FILE.broken", when the first value is stored. A folder that cannot
/// be written keeps nothing; the values then live as long as the program.
class QtUserDefaults final : public UserDefaults {
  public:
    explicit QtUserDefaults(QString file = standardFile());

    /// korvel/defaults.json in the user's configuration folder.
    static QString standardFile();

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

  private:
    void load();
    void store(const std::string& key, const char* type, const QJsonValue& value);
    void save();

    QString file_;
    QJsonObject values_;
    bool broken_ = false; ///< the file is there and is none of ours
};

} // namespace korvel::platform
