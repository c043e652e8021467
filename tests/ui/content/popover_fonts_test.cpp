#include "ui/content/popover_fonts.h"

#include <gtest/gtest.h>

namespace korvel {
namespace {

using enum FontStyle::Weight;
using enum FontStyle::Design;
using Fonts = PopoverFonts;

/// Which texts of the popover are set in what.
TEST(PopoverFonts, AreOfTheirSizesWeightsAndDesigns) {
    const struct {
        const char* text;
        FontStyle font;
        FontStyle expected;
    } rows[] = {
        {"the number in the dial", Fonts::kDialNumber, {20, bold, interface}},
        {"the verdict", Fonts::kVerdict, {17, semibold, interface}},
        {"the machine", Fonts::kMachineLine, {9.5, regular, interface}},
        {"the button of the breakdown", Fonts::kToggle, {9.5, regular, interface}},
        {"a factor's name", Fonts::kFactorName, {10, regular, monospaced}},
        {"its points", Fonts::kFactorPoints, {9.5, medium, interface}},
        {"its detail", Fonts::kFactorDetail, {9, regular, monospaced}},
        {"the footnote", Fonts::kFootnote, {8.5, regular, interface}},
        {"a sentence on the state", Fonts::kStatus, {11, regular, interface}},
        {"a row's label", Fonts::kRowCaption, {9.5, semibold, monospaced}},
        {"its percentage", Fonts::kRowPercent, {10, bold, monospaced}},
        {"its detail", Fonts::kRowDetail, {9.5, regular, monospaced}},
        {"the button that finds holders", Fonts::kHoldersButton, {10, regular, interface}},
        {"a holder's name", Fonts::kHolderName, {10.5, regular, interface}},
        {"its size", Fonts::kHolderSize, {9.5, medium, interface}},
        {"the note under the holders", Fonts::kHoldersNote, {9, regular, interface}},
        {"the caption of the list", Fonts::kListCaption, {8.5, semibold, interface}},
        {"a process's name", Fonts::kProcessName, {11, regular, interface}},
        {"its size", Fonts::kProcessSize, {10, medium, interface}},
        {"what can be done", Fonts::kAction, {11, regular, interface}},
        {"what waits to be done", Fonts::kActionSemibold, {11, semibold, interface}},
        {"the greeting", Fonts::kBannerHeading, {12.5, semibold, interface}},
        {"the line under it", Fonts::kBannerSubline, {10.5, regular, interface}},
        {"a note", Fonts::kBannerNote, {11, regular, interface}},
        {"what failed in an update", Fonts::kUpdateSmall, {10, regular, interface}},
        {"the time left", Fonts::kRemaining, {9, regular, interface}},
        {"the switch beside it", Fonts::kAwakeControl, {10, regular, interface}},
        {"the watchdog", Fonts::kWarden, {9.5, regular, interface}},
        {"what a reclaim gained", Fonts::kResult, {9.5, regular, monospaced}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.font, row.expected) << row.text;
    }
}

} // namespace
} // namespace korvel
