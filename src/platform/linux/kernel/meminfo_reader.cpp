#include "platform/linux/kernel/meminfo_reader.h"

#include <string_view>
#include <utility>

namespace korvel::platform {

MeminfoReader::MeminfoReader(FileCalls& calls, const std::string& root, SteadyClock now)
    : now_(std::move(now)), file_(calls, root + "proc/meminfo") {}

std::optional<Meminfo> MeminfoReader::read() {
    const std::lock_guard lock(mutex_);
    readAt_ = now_();
    last_ = readFile();
    return last_;
}

std::optional<Meminfo> MeminfoReader::readOrHandOn() {
    constexpr std::chrono::seconds kLongestSample(1);
    const std::lock_guard lock(mutex_);
    const std::optional<Meminfo> last = std::exchange(last_, std::nullopt);
    return last && now_() - readAt_ < kLongestSample ? last : readFile();
}

std::optional<Meminfo> MeminfoReader::readFile() {
    const std::optional<std::string_view> text = file_.read(buffer_);
    return text ? parseMeminfo(*text) : std::nullopt;
}

} // namespace korvel::platform
