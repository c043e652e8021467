#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::test {

/// One entry of an archive; what is set besides the first three makes it a strange one.
struct ZipMember {
    std::string name;
    std::string content;        ///< of a link: its target
    unsigned mode = 0100644;    ///< kind and mode
    unsigned method = 0;        ///< `content` is packed with it already
    unsigned flags = 1U << 11U; ///< the name is UTF-8
    std::optional<std::uint32_t> unpacked =
        std::nullopt; ///< told size; that of the content unless told
    std::optional<std::uint32_t> packed = std::nullopt;
    std::optional<std::uint32_t> checksum = std::nullopt; ///< that of the content unless told
    std::optional<std::string> localName =
        std::nullopt; ///< beside the data, another than in the index
    std::string extra = {};
    std::string behind = {}; ///< what follows the content
};

inline std::uint32_t crc32Of(std::string_view bytes) {
    std::uint32_t crc = 0xffffffff;
    for (const char c : bytes) {
        crc ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit) {
            crc = crc >> 1U ^ ((crc & 1U) != 0 ? 0xedb88320 : 0);
        }
    }
    return ~crc;
}

inline std::string little(std::uint64_t number, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i) {
        text += static_cast<char>(number >> (8 * i) & 0xffU);
    }
    return text;
}

/// The part that an entry's own header and its description in the index have in common.
inline std::string zipDescription(const ZipMember& member, const std::string& name) {
    const std::uint32_t size = static_cast<std::uint32_t>(member.content.size());
    constexpr unsigned kTime = 0x6000;
    constexpr unsigned kDate = 0x2e73; // 19 March 2003, 12:00
    return little(member.flags, 2) + little(member.method, 2) + little(kTime, 2) +
           little(kDate, 2) + little(member.checksum.value_or(crc32Of(member.content)), 4) +
           little(member.packed.value_or(size), 4) + little(member.unpacked.value_or(size), 4) +
           little(name.size(), 2) + little(member.extra.size(), 2);
}

inline std::string zipLocal(const ZipMember& member) {
    const std::string& name = member.localName.value_or(member.name);
    return "PK\3\4" + little(20, 2) + zipDescription(member, name) + name + member.extra +
           member.content + member.behind;
}

inline std::string zipCentral(const ZipMember& member, std::uint64_t place) {
    constexpr unsigned kMadeOnUnix = 0x0314;
    return "PK\1\2" + little(kMadeOnUnix, 2) + little(20, 2) + zipDescription(member, member.name) +
           little(0, 2) + little(0, 2) + little(0, 2) + little(member.mode << 16U, 4) +
           little(place, 4) + member.name + member.extra;
}

inline std::string zipEnd(std::uint64_t count, std::uint64_t length, std::uint64_t place) {
    return "PK\5\6" + little(0, 4) + little(count, 2) + little(count, 2) + little(length, 4) +
           little(place, 4) + little(0, 2);
}

inline std::string makeZip(const std::vector<ZipMember>& members) {
    std::string archive;
    std::string index;
    for (const ZipMember& member : members) {
        index += zipCentral(member, archive.size());
        archive += zipLocal(member);
    }
    const std::size_t place = archive.size();
    return archive + index + zipEnd(members.size(), index.size(), place);
}

} // namespace korvel::test
