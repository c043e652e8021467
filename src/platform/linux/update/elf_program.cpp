#include "platform/linux/update/elf_program.h"

#include <cstddef>
#include <cstring>
#include <optional>

#include <link.h>

namespace korvel::platform {

namespace {

using FileHeader = ElfW(Ehdr);
using SegmentHeader = ElfW(Phdr);

/// The words and the byte order of the processor come before its number, which ends here.
constexpr std::size_t kMachineEnd = offsetof(FileHeader, e_machine) + sizeof(FileHeader::e_machine);

bool isElf(std::string_view file) {
    return file.size() >= kMachineEnd && file.starts_with(std::string_view(ELFMAG, SELFMAG));
}

/// Two files that are ELF.
bool forOneProcessor(std::string_view file, std::string_view other) {
    constexpr std::size_t kMachine = offsetof(FileHeader, e_machine);
    return file[EI_CLASS] == other[EI_CLASS] && file[EI_DATA] == other[EI_DATA] &&
           file.substr(kMachine, kMachineEnd - kMachine) ==
               other.substr(kMachine, kMachineEnd - kMachine);
}

/// A record that the file holds at that place; nullopt: the file ends before its end.
template <typename Record>
std::optional<Record> recordAt(std::string_view file, std::size_t place) {
    if (place > file.size() || file.size() - place < sizeof(Record)) {
        return std::nullopt;
    }
    Record record;
    std::memcpy(&record, file.data() + place, sizeof record);
    return record;
}

/// The bytes of a segment; nullopt: the file ends before their end.
std::optional<std::string_view> bytesOf(const SegmentHeader& segment, std::string_view file) {
    if (segment.p_offset > file.size() || segment.p_filesz > file.size() - segment.p_offset) {
        return std::nullopt;
    }
    return file.substr(segment.p_offset, segment.p_filesz);
}

/// A path with the zero byte that ends it, and no other.
std::optional<std::string> pathIn(std::string_view bytes) {
    const std::size_t end = bytes.find('\0');
    if (bytes.empty() || bytes.front() != '/' || end + 1 != bytes.size()) {
        return std::nullopt;
    }
    return std::string(bytes.substr(0, end));
}

} // namespace

Result<ElfProgram, LoadFault> readElfProgram(std::string_view file, std::string_view own) {
    const Error<LoadFault> noProgram{LoadFault::notAProgram};
    if (!isElf(file) || !isElf(own)) {
        return noProgram;
    }
    if (!forOneProcessor(file, own)) {
        return Error{LoadFault::otherProcessor};
    }
    const auto header = recordAt<FileHeader>(file, 0);
    // A library has no entry, although it is of a kind that programs are of too.
    if (!header || (header->e_type != ET_EXEC && header->e_type != ET_DYN) ||
        header->e_entry == 0 || header->e_phentsize != sizeof(SegmentHeader)) {
        return noProgram;
    }
    ElfProgram program;
    bool loads = false;
    for (std::size_t i = 0; i < header->e_phnum; ++i) {
        const auto segment =
            header->e_phoff > file.size()
                ? std::nullopt
                : recordAt<SegmentHeader>(file, header->e_phoff + i * sizeof(SegmentHeader));
        if (!segment) {
            return noProgram;
        }
        const auto bytes = bytesOf(*segment, file);
        if (segment->p_type == PT_LOAD) {
            if (!bytes) {
                return noProgram;
            }
            loads = true;
        } else if (segment->p_type == PT_INTERP) {
            const auto path = bytes ? pathIn(*bytes) : std::nullopt;
            if (!path) {
                return noProgram;
            }
            program.interpreter = *path;
        }
    }
    return loads ? Result<ElfProgram, LoadFault>(program) : noProgram;
}

} // namespace korvel::platform
