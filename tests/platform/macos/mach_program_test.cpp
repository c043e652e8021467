#include "platform/macos/mach_program.h"

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace korvel::platform {

namespace {

constexpr std::uint32_t kAppleSilicon = 0x0100000c;
constexpr std::uint32_t kIntel = 0x01000007;
constexpr std::uint32_t kVentura = 0x000d0000; // 13.0

std::string little(const std::vector<std::uint32_t>& numbers) {
    std::string bytes;
    for (const std::uint32_t number : numbers) {
        for (int shift = 0; shift < 32; shift += 8) {
            bytes += static_cast<char>(number >> shift);
        }
    }
    return bytes;
}

std::string big(const std::vector<std::uint32_t>& numbers) {
    std::string bytes;
    for (const std::uint32_t number : numbers) {
        for (int shift = 24; shift >= 0; shift -= 8) {
            bytes += static_cast<char>(number >> shift);
        }
    }
    return bytes;
}

/// A program for one processor: a command that says nothing here, and that of the version.
std::string program(std::uint32_t processor, std::uint32_t oldest, std::uint32_t kind = 2,
                    std::vector<std::uint32_t> version = {}) {
    if (version.empty()) {
        version = {0x32, 24, 1, oldest, 0x000e0000, 0};
    }
    const auto size = static_cast<std::uint32_t>(16 + 4 * version.size());
    return little({0xfeedfacf, processor, 0, kind, 2, size, 0, 0, 0x1b, 16, 1, 2}) +
           little(version);
}

/// The same of several processors in one file.
std::string several(const std::vector<std::pair<std::uint32_t, std::string>>& slices) {
    std::vector<std::uint32_t> list{0xcafebabe, static_cast<std::uint32_t>(slices.size())};
    auto place = static_cast<std::uint32_t>(8 + 20 * slices.size());
    std::string bytes;
    for (const auto& [processor, slice] : slices) {
        list.insert(list.end(), {processor, 0, place, static_cast<std::uint32_t>(slice.size()), 0});
        place += static_cast<std::uint32_t>(slice.size());
        bytes += slice;
    }
    return big(list) + bytes;
}

/// Of bytes that end where their memory ends, as a sanitizer sees it.
Status<LoadFault> checkExactly(const std::string& bytes, std::uint32_t system = kVentura) {
    const std::unique_ptr<char[]> exact(new char[bytes.size()]);
    std::memcpy(exact.get(), bytes.data(), bytes.size());
    return checkMachProgram({exact.get(), bytes.size()}, system);
}

TEST(MachProgram, AVersionIsANumberThatGrows) {
    const std::pair<const char*, std::uint32_t> kVersions[] = {
        {"13", 0x000d0000},
        {"13.0", 0x000d0000},
        {"14.2.1", 0x000e0201},
        {"15.10", 0x000f0a00},
        {"", 0},
        {"x", 0},
        {"13.", 0},
        {"13.0.1.2", 0},
        {"13.300", 0},
        {"13a", 0},
        {".1", 0},
        {"-1", 0},
    };
    for (const auto& [text, packed] : kVersions) {
        EXPECT_EQ(packedVersion(text), packed) << text;
    }
}

TEST(MachProgram, AProgramForAppleSiliconStartsOnTheSystemThatItIsForAndLater) {
    EXPECT_TRUE(checkExactly(program(kAppleSilicon, kVentura)));
    EXPECT_TRUE(checkExactly(program(kAppleSilicon, kVentura), kVentura + 1));
    EXPECT_TRUE(checkExactly(several(
        {{kIntel, program(kIntel, kVentura)}, {kAppleSilicon, program(kAppleSilicon, kVentura)}})));
    EXPECT_TRUE(checkExactly(program(kAppleSilicon, 0, 2, {0x24, 16, kVentura, 0})))
        << "the older command";
    EXPECT_TRUE(checkExactly(program(kAppleSilicon, 0, 2, {0x19, 8}))) << "no version";
    EXPECT_TRUE(checkExactly(program(kAppleSilicon, 0, 2, {0x32, 24, 2, ~0U, 0, 0})))
        << "of a telephone";
    EXPECT_TRUE(checkExactly(program(kAppleSilicon, 0x00630000), 0))
        << "the system tells no version";
}

TEST(MachProgram, ALaterSystemIsNamed) {
    for (const std::string& bytes :
         {program(kAppleSilicon, 0x000f0100),
          program(kAppleSilicon, 0, 2, {0x24, 16, 0x000f0100, 0}),
          several({{kAppleSilicon, program(kAppleSilicon, 0x000f0100)}})}) {
        const Status<LoadFault> checked = checkExactly(bytes);
        ASSERT_FALSE(checked);
        EXPECT_EQ(checked.error(), (Error<LoadFault>{LoadFault::systemTooOld, "", "15.1"}));
    }
}

TEST(MachProgram, AnotherProcessorIsToldFromWhatIsNoProgram) {
    const std::string good = program(kAppleSilicon, kVentura);
    const std::pair<std::string, LoadFault> kCases[] = {
        {program(kIntel, kVentura), LoadFault::otherProcessor},
        {several({{kIntel, program(kIntel, kVentura)}}), LoadFault::otherProcessor},
        {several({}), LoadFault::otherProcessor},
        {several({{kAppleSilicon, program(kIntel, kVentura)}}), LoadFault::otherProcessor},
        {program(kAppleSilicon, kVentura, 6), LoadFault::notAProgram}, // a library
        {several({{kAppleSilicon, "text"}}), LoadFault::notAProgram},
        {"#!/bin/sh\n", LoadFault::notAProgram},
        {"", LoadFault::notAProgram},
        {program(kAppleSilicon, 0, 2, {0x32, 7, 1, 0, 0, 0}), LoadFault::notAProgram},
        {program(kAppleSilicon, 0, 2, {0x32, 25, 1, 0, 0, 0}), LoadFault::notAProgram},
        {program(kAppleSilicon, 0, 2, {0x32, 12, 1}), LoadFault::notAProgram},
        {big({0xcafebabe, 1, kAppleSilicon, 0, 28, 1, 0}), LoadFault::notAProgram},
        {big({0xcafebabe, 1, kAppleSilicon, 0, ~0U, 1, 0}), LoadFault::notAProgram},
    };
    for (const auto& [bytes, fault] : kCases) {
        const Status<LoadFault> checked = checkExactly(bytes);
        ASSERT_FALSE(checked);
        EXPECT_EQ(checked.error().code, fault);
    }
    for (std::size_t length = 0; length < good.size(); ++length) {
        const Status<LoadFault> checked = checkExactly(good.substr(0, length));
        ASSERT_FALSE(checked) << length;
        EXPECT_NE(checked.error().code, LoadFault::systemTooOld) << length;
    }
}

} // namespace

} // namespace korvel::platform
