#include "platform/macos/mach_program.h"

#include <charconv>
#include <cstddef>
#include <optional>
#include <string>

namespace korvel::platform {

namespace {

// As in <mach-o/fat.h> and <mach-o/loader.h>. The list of a file for several processors is in the
// order of bytes of the first Macs, the rest in that of today's.
constexpr std::uint32_t kSeveral = 0xcafebabe;
constexpr std::size_t kSeveralHeader = 8;
constexpr std::size_t kSlice = 20;
constexpr std::uint32_t kMostSlices = 64;
constexpr std::uint32_t kOne = 0xfeedfacf;
constexpr std::size_t kOneHeader = 32;
constexpr std::uint32_t kArm64 = 0x0100000c;
constexpr std::uint32_t kExecutable = 2;
constexpr std::uint32_t kVersionOfMacos = 0x24;
constexpr std::uint32_t kVersionOfBuild = 0x32;
constexpr std::uint32_t kMacos = 1;

std::uint32_t byteAt(std::string_view file, std::size_t place) {
    return static_cast<unsigned char>(file[place]);
}

/// nullopt: the file ends before the end of the number.
std::optional<std::uint32_t> numberAt(std::string_view file, std::size_t place) {
    if (place > file.size() || file.size() - place < 4) {
        return std::nullopt;
    }
    return byteAt(file, place) | byteAt(file, place + 1) << 8 | byteAt(file, place + 2) << 16 |
           byteAt(file, place + 3) << 24;
}

std::optional<std::uint32_t> bigNumberAt(std::string_view file, std::size_t place) {
    const auto number = numberAt(file, place);
    return number ? std::optional(*number >> 24 | (*number >> 8 & 0xff00) |
                                  (*number << 8 & 0xff0000) | *number << 24)
                  : std::nullopt;
}

/// The part of a file for several processors that is for this one.
Result<std::string_view, LoadFault> sliceIn(std::string_view file) {
    const auto count = bigNumberAt(file, 4);
    for (std::uint32_t i = 0; count && i < *count && i < kMostSlices; ++i) {
        const std::size_t place = kSeveralHeader + i * kSlice;
        const auto processor = bigNumberAt(file, place);
        const auto offset = bigNumberAt(file, place + 8);
        const auto size = bigNumberAt(file, place + 12);
        if (!size || *offset > file.size() || *size > file.size() - *offset) {
            return Error{LoadFault::notAProgram};
        }
        if (processor == kArm64) {
            return file.substr(*offset, *size);
        }
    }
    return Error{count ? LoadFault::otherProcessor : LoadFault::notAProgram};
}

/// The oldest system that the program starts on; 0 where it names none, nullopt where its commands
/// cannot be read.
std::optional<std::uint32_t> oldestSystem(std::string_view program, std::uint32_t commands) {
    std::size_t place = kOneHeader;
    for (std::uint32_t i = 0; i < commands; ++i) {
        const auto kind = numberAt(program, place);
        const auto size = numberAt(program, place + 4);
        constexpr std::uint32_t kLeast = 8;
        if (!kind || !size || *size < kLeast || *size > program.size() - place) {
            return std::nullopt;
        }
        const std::string_view command = program.substr(place, *size);
        if (*kind == kVersionOfMacos) {
            return numberAt(command, 8);
        }
        if (*kind == kVersionOfBuild && numberAt(command, 8) == kMacos) {
            return numberAt(command, 12);
        }
        place += *size;
    }
    return 0;
}

} // namespace

std::uint32_t packedVersion(std::string_view text) {
    std::uint32_t packed = 0;
    for (int shift = 16; shift >= 0; shift -= 8) {
        unsigned part = 0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), part);
        if (error != std::errc() || part > 0xff) {
            return 0;
        }
        packed |= part << shift;
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
        if (text.empty()) {
            return packed;
        }
        if (text.front() != '.') {
            return 0;
        }
        text.remove_prefix(1);
    }
    return 0;
}

Status<LoadFault> checkMachProgram(std::string_view file, std::uint32_t system) {
    if (bigNumberAt(file, 0) == kSeveral) {
        const auto slice = sliceIn(file);
        if (!slice) {
            return slice.error();
        }
        file = *slice;
    }
    if (numberAt(file, 0) != kOne) {
        return Error{LoadFault::notAProgram};
    }
    if (numberAt(file, 4) != kArm64) {
        return Error{LoadFault::otherProcessor};
    }
    const auto commands = numberAt(file, 16);
    const auto oldest = commands ? oldestSystem(file, *commands) : std::nullopt;
    if (!oldest || numberAt(file, 12) != kExecutable) {
        return Error{LoadFault::notAProgram};
    }
    if (system != 0 && *oldest > system) {
        return Error{LoadFault::systemTooOld, "",
                     std::to_string(*oldest >> 16) + "." + std::to_string(*oldest >> 8 & 0xff)};
    }
    return {};
}

} // namespace korvel::platform
