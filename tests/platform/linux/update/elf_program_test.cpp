#include "platform/linux/update/elf_program.h"

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <link.h>

namespace korvel::platform {

namespace {

namespace fs = std::filesystem;

std::string sampleBytes(const std::string& name) {
    std::ifstream file(fs::path(KORVEL_ELF_SAMPLES) / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

class ElfProgramTest : public testing::Test {
  protected:
    void SetUp() override { ASSERT_FALSE(program.empty()); }

    /// Reads bytes that end where their memory ends, as a sanitizer sees it.
    Result<std::string, LoadFault> read(const std::string& bytes) const {
        const std::unique_ptr<char[]> exact(new char[bytes.size()]);
        std::memcpy(exact.get(), bytes.data(), bytes.size());
        auto found = readElfProgram({exact.get(), bytes.size()}, program);
        return found ? Result<std::string, LoadFault>(found->interpreter) : found.error();
    }
    LoadFault faultOf(const std::string& bytes) const {
        const auto found = read(bytes);
        EXPECT_FALSE(found);
        return found ? LoadFault::refused : found.error().code;
    }

    std::string with(std::size_t place, char byte) const {
        std::string changed = program;
        changed.at(place) = byte;
        return changed;
    }
    template <typename Number>
    std::string with(std::size_t place, Number number) const {
        std::string changed = program;
        std::memcpy(&changed.at(place), &number, sizeof number);
        return changed;
    }

    ElfW(Phdr) segment(ElfW(Word) type, std::size_t& place) const {
        ElfW(Ehdr) header;
        std::memcpy(&header, program.data(), sizeof header);
        ElfW(Phdr) found{};
        for (place = header.e_phoff; place < program.size(); place += sizeof found) {
            std::memcpy(&found, &program.at(place), sizeof found);
            if (found.p_type == type) {
                return found;
            }
        }
        ADD_FAILURE() << "no segment of the kind " << type;
        return found;
    }

    const std::string program = sampleBytes("program");
};

TEST_F(ElfProgramTest, AProgramNamesTheLoaderThatItAsksFor) {
    std::size_t place = 0;
    const auto segmentOfPath = segment(PT_INTERP, place);
    const std::string expected = program.substr(segmentOfPath.p_offset, segmentOfPath.p_filesz - 1);
    EXPECT_TRUE(fs::exists(expected)) << expected;
    EXPECT_EQ(*read(program), expected);
    EXPECT_EQ(*read(sampleBytes("program_for_another_loader")), "/nowhere/ld.so");
    EXPECT_EQ(*read(sampleBytes("static_program")), "");
}

TEST_F(ElfProgramTest, WhatIsMadeForAnotherProcessorIsToldFromWhatIsNoProgram) {
    EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_machine), char{0x28})), // 32-bit ARM
              LoadFault::otherProcessor);
    EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_machine) + 1, char{1})),
              LoadFault::otherProcessor);
    EXPECT_EQ(faultOf(with(EI_CLASS, char{ELFCLASS32})), LoadFault::otherProcessor);
    EXPECT_EQ(faultOf(with(EI_DATA, char{ELFDATA2MSB})), LoadFault::otherProcessor);
    EXPECT_EQ(faultOf(with(3, 'G')), LoadFault::notAProgram);
    EXPECT_EQ(faultOf("#!/bin/sh\nexit 0\n"), LoadFault::notAProgram);
    EXPECT_EQ(faultOf(""), LoadFault::notAProgram);
}

TEST_F(ElfProgramTest, OnlyWhatHasAnEntryAndIsToBeLoadedIsAProgram) {
    EXPECT_EQ(faultOf(sampleBytes("newer/libmarking.so.1")), LoadFault::notAProgram) << "a library";
    EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_type), ElfW(Half){ET_CORE})),
              LoadFault::notAProgram);
    EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_type), ElfW(Half){ET_REL})),
              LoadFault::notAProgram);
    EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_phnum), ElfW(Half){0})), LoadFault::notAProgram);
    EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_phnum), ElfW(Half){0xffff})),
              LoadFault::notAProgram);
    EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_phentsize), ElfW(Half){8})),
              LoadFault::notAProgram);
}

TEST_F(ElfProgramTest, AFileThatEndsBeforeWhatIsToBeLoadedIsNoProgram) {
    std::size_t end = 0;
    ElfW(Ehdr) header;
    std::memcpy(&header, program.data(), sizeof header);
    for (std::size_t i = 0; i < header.e_phnum; ++i) {
        ElfW(Phdr) each;
        std::memcpy(&each, &program.at(header.e_phoff + i * sizeof each), sizeof each);
        end = each.p_type == PT_LOAD ? std::max(end, each.p_offset + each.p_filesz) : end;
    }
    ASSERT_GT(end, 1000U);
    for (std::size_t length = 0; length < end; ++length) {
        ASSERT_EQ(faultOf(program.substr(0, length)), LoadFault::notAProgram) << length;
    }
    EXPECT_TRUE(read(program.substr(0, end)));
}

TEST_F(ElfProgramTest, PlacesOutsideOfTheFileAreNotReadAndAreNoProgram) {
    std::size_t place = 0;
    segment(PT_INTERP, place);
    constexpr std::size_t kOffset = offsetof(ElfW(Phdr), p_offset);
    constexpr std::size_t kSize = offsetof(ElfW(Phdr), p_filesz);
    const ElfW(Off) end = program.size();
    for (const ElfW(Off) far : {end, end + 1, ~ElfW(Off){0}, ~ElfW(Off){0} - 8, end - 3}) {
        EXPECT_EQ(faultOf(with(offsetof(ElfW(Ehdr), e_phoff), far)), LoadFault::notAProgram);
        EXPECT_EQ(faultOf(with(place + kOffset, far)), LoadFault::notAProgram) << far;
    }
    for (const ElfW(Xword) size :
         {ElfW(Xword){end}, ~ElfW(Xword){0}, ElfW(Xword){0}, ElfW(Xword){5}, ElfW(Xword){100}}) {
        EXPECT_EQ(faultOf(with(place + kSize, size)), LoadFault::notAProgram) << size;
    }
    segment(PT_LOAD, place);
    EXPECT_EQ(faultOf(with(place + kOffset, ~ElfW(Off){0} - 8)), LoadFault::notAProgram);
    EXPECT_EQ(faultOf(with(place + kSize, ~ElfW(Xword){0})), LoadFault::notAProgram);
}

TEST_F(ElfProgramTest, ALoaderHasAnAbsolutePath) {
    std::size_t place = 0;
    const auto path = segment(PT_INTERP, place);
    EXPECT_EQ(faultOf(with(path.p_offset, 'l')), LoadFault::notAProgram);
    EXPECT_EQ(faultOf(with(path.p_offset + 4, '\0')), LoadFault::notAProgram);
    EXPECT_EQ(faultOf(with(path.p_offset + path.p_filesz - 1, 'x')), LoadFault::notAProgram);
}

} // namespace

} // namespace korvel::platform
