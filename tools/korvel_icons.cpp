// korvel-icons OUT.icns: the icon of the macOS bundle, in every size that the system asks for, each
// drawn for itself from the program's badge.

#include <string_view>

#include <QByteArray>
#include <QFile>
#include <QSaveFile>

#include <fmt/format.h>

#include "tools/icons/badge_icon.h"
#include "tools/icons/icns.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int complain(std::string_view text, int status) {
    fmt::print(stderr, "korvel-icons: {}\n", text);
    return status;
}

int writeIcons(const char* path) {
    const QByteArray bytes = korvel::icnsFile(korvel::drawBadgeIcon);
    if (bytes.isEmpty()) {
        return complain("the pictures cannot be encoded as PNG", kFailed);
    }
    QSaveFile file(QFile::decodeName(path));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) {
        return complain(
            fmt::format("{}: cannot be written: {}", path, file.errorString().toStdString()),
            kFailed);
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    return argc == 2 ? writeIcons(argv[1]) : complain("usage: korvel-icons OUT.icns", kWrongUsage);
}
