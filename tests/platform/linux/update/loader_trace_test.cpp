#include "platform/linux/update/loader_trace.h"

#include <string>

#include <gtest/gtest.h>

namespace korvel::platform {

namespace {

using namespace std::string_literals;

const std::string kObject = "/home/a: b/Korvel.app/Contents/Linux/korvel";
const std::string kList = "\tlinux-vdso.so.1 (0x00007f246dd2f000)\n"
                          "\tlibfmt.so.9 => /lib/libfmt.so.9 (0x00007f246db2e000)\n"
                          "\t/lib64/ld-linux-x86-64.so.2 (0x00007f246dd31000)\n";

TEST(LoaderTrace, AListWithoutAComplaintLoads) {
    const std::string kLists[] = {
        kList,
        "\tstatically linked\n",
        // What the loader says and starts the program all the same.
        kObject + ": /lib/libx.so.1: no version information available (required by " + kObject +
            ")\n" + kList,
        kObject + ": /lib/libx.so.1: weak version `V2' not found (required by " + kObject + ")\n" +
            kList,
        "\tlibnot found.so => /lib/not found (0x1)\n",
    };
    for (const std::string& list : kLists) {
        EXPECT_EQ(readLoaderTrace({list, 0}, kObject), Status<LoadFault>()) << list;
    }
}

TEST(LoaderTrace, EachComplaintIsToldForWhatItIs) {
    const std::string kError = kObject + ": error while loading shared libraries: ";
    const struct {
        std::string output;
        int status;
        Error<LoadFault> error;
    } kCases[] = {
        {kError + "libfmt.so.9: cannot open shared object file: No such file or directory\n",
         127,
         {LoadFault::libraryMissing, "libfmt.so.9"}},
        {kError + "libfmt.so.9: cannot open shared object file: No such file or directory",
         127,
         {LoadFault::libraryMissing, "libfmt.so.9"}},
        {"\tlibfmt.so.9 => not found\n" + kList, 0, {LoadFault::libraryMissing, "libfmt.so.9"}},
        {kObject + ": /lib/libc.so.6: version `GLIBC_2.38' not found (required by " + kObject +
             ")\n" + kList,
         0,
         {LoadFault::libraryTooOld, "libc.so.6", "GLIBC_2.38"}},
        {kError + "/home/a: b/lib/libx.so.1: file too short\n",
         127,
         {LoadFault::libraryUnfit, "libx.so.1", "file too short"}},
        {kError + "libx.so.1: cannot open shared object file: Permission denied\n",
         127,
         {LoadFault::libraryUnfit, "libx.so.1",
          "cannot open shared object file: Permission denied"}},
        {kError + kObject + ": failed to map segment from shared object\n",
         127,
         {LoadFault::refused, "", "failed to map segment from shared object"}},
        {kError + kObject + ": CPU ISA level is lower than required\n",
         127,
         {LoadFault::otherProcessor}},
        {kObject + ": CPU ISA level is lower than required\n", 127, {LoadFault::otherProcessor}},
        {kError + "something\n", 127, {LoadFault::refused, "", "something"}},
        {"", 127, {LoadFault::refused, "", "status 127"}},
        {"", -11, {LoadFault::refused, "", "status -11"}},
        {kList, 1, {LoadFault::refused, "", "status 1"}},
    };
    for (const auto& row : kCases) {
        const Status<LoadFault> read = readLoaderTrace({row.output, row.status}, kObject);
        ASSERT_FALSE(read) << row.output;
        EXPECT_EQ(read.error(), row.error)
            << row.output << read.error().subject << ", " << read.error().detail;
    }
}

TEST(LoaderTrace, TheFirstComplaintIsTold) {
    const Status<LoadFault> read =
        readLoaderTrace({"\tliba.so => not found\n\tlibb.so => not found\n", 127}, kObject);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().subject, "liba.so");
}

TEST(LoaderTrace, WhatIsNamedCanBeShown) {
    const Status<LoadFault> read =
        readLoaderTrace({"\t" + std::string(500, 'l') + " => not found\n", 0}, kObject);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().subject, std::string(100, 'l'));
    const Status<LoadFault> odd =
        readLoaderTrace({"\tlib\x1b[1m\xff\0.so => not found\n"s, 0}, kObject);
    ASSERT_FALSE(odd);
    EXPECT_EQ(odd.error().subject, "lib?[1m??.so");
}

} // namespace

} // namespace korvel::platform
