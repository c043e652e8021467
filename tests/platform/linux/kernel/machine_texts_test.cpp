#include "platform/linux/kernel/machine_texts.h"

#include <string>

#include <gtest/gtest.h>

namespace korvel::platform {
namespace {

TEST(ProcessorList, CountsRangesAndSingleNumbers) {
    EXPECT_EQ(countProcessors("0\n"), 1);
    EXPECT_EQ(countProcessors("0-127\n"), 128);
    EXPECT_EQ(countProcessors("0-3,6,8-9\n"), 7);
    for (const char* bad : {"", "\n", "0-3", "x\n", "3-0\n", "-1\n", "0-\n", "0,,1\n", "0 1\n",
                            "0-99999999999\n", "0-1048576\n"}) {
        EXPECT_FALSE(countProcessors(bad)) << '"' << bad << '"';
    }
}

TEST(ProcessorList, OfMoreThanTheMostProcessorsIsMalformed) {
    EXPECT_EQ(countProcessors("0-1048575\n"), 1 << 20);
    EXPECT_FALSE(countProcessors("0-1048575,0\n"));
    std::string list; // the sum of all would not fit in an int
    for (int i = 0; i < 2048; ++i) {
        list += "0-1048575,";
    }
    EXPECT_FALSE(countProcessors(list + "0\n"));
}

TEST(LoadAverages, AreAllThreeOrNone) {
    EXPECT_EQ(parseLoadAverages("0.09 1.19 20.10 1/85 1234\n"), (std::array{0.09, 1.19, 20.1}));
    for (const char* bad : {"", "1.0 2.0\n", "1.0 2.0 3.0", "1.0 x 3.0 1/1 1\n", "1,0 2,0 3,0\n",
                            "nan 1 1 1/1 1\n", "-1 1 1 1/1 1\n", "inf 1 1 1/1 1\n"}) {
        EXPECT_FALSE(parseLoadAverages(bad)) << '"' << bad << '"';
    }
}

TEST(Swapouts, AreTheFieldOfThatNameAlone) {
    EXPECT_EQ(parseSwapouts("pswpin 3\npswpout 18446744073709551615\n"), 18446744073709551615U);
    EXPECT_EQ(parseSwapouts("pswpout 1\npswpout 2\n"), 1U);
    for (const char* bad :
         {"", "thp_pswpout 3\n", "pswpout\n", "pswpout x\n", "pswpout 12", "pswpout_more 1\n"}) {
        EXPECT_FALSE(parseSwapouts(bad)) << '"' << bad << '"';
    }
}

TEST(Swapouts, AreToldByAWholeLineOfThatName) {
    EXPECT_TRUE(tellsSwapouts("pswpin 3\npswpout 12\nnr"));
    EXPECT_TRUE(tellsSwapouts("pswpout x\n")) << "what follows tells no more";
    EXPECT_EQ(parseSwapouts("thp_pswpout 3\nxpswpout 4\npswpout 5\n"), 5U);
    for (const char* part : {"", "pswpin 3\n", "pswpin 3\npswpout 1", "thp_pswpout 3\n"}) {
        EXPECT_FALSE(tellsSwapouts(part)) << '"' << part << '"';
    }
}

} // namespace
} // namespace korvel::platform
