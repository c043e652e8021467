#include "update/load_fault_words.h"

#include <csignal>

#include <gtest/gtest.h>

namespace korvel {

namespace {

using platform::LoadFault;

TEST(LoadFaultWords, EachFaultHasItsSentence) {
    const std::pair<Error<LoadFault>, const char*> kSentences[] = {
        {{LoadFault::missing}, "it holds no program that can be read"},
        {{LoadFault::notAProgram}, "it holds no program for this system"},
        {{LoadFault::otherProcessor}, "it is made for another kind of processor"},
        {{LoadFault::systemTooOld, "", "15.1"}, "it needs version 15.1 of the system"},
        {{LoadFault::notStartable}, "no program can be started from the disk that it is on"},
        {{LoadFault::interpreterMissing, "/lib/ld.so"}, "the system has no /lib/ld.so"},
        {{LoadFault::libraryMissing, "libfmt.so.9"}, "the library libfmt.so.9 is missing"},
        {{LoadFault::libraryTooOld, "libc.so.6", "GLIBC_2.38"},
         "the library libc.so.6 is too old, it lacks GLIBC_2.38"},
        {{LoadFault::libraryUnfit, "libz.so.1", "file too short"},
         "the library libz.so.1 cannot be used (file too short)"},
        {{LoadFault::pluginMissing, "wayland"}, "it knows no displays of the kind wayland"},
        {{LoadFault::refused, "", "status 1"}, "the system does not load it (status 1)"},
        {{LoadFault::notTold}, "the system does not tell whether it can"},
    };
    for (const auto& [error, reason] : kSentences) {
        EXPECT_EQ(sentenceOf("Korvel.app", error),
                  "“Korvel.app” can’t run here: " + std::string(reason) + ".");
    }
}

TEST(LoadFaultWordsDeathTest, AFaultWithoutASentenceIsFatal) {
    EXPECT_EXIT(sentenceOf("Korvel.app", {static_cast<LoadFault>(99)}),
                testing::KilledBySignal(SIGABRT), "^$");
}

} // namespace

} // namespace korvel
