#pragma once

namespace korvel {

/// A font as the popover asks for it; which family that is is the desktop's to say.
struct FontStyle {
    enum class Weight { regular, medium, semibold, bold };
    enum class Design { interface, monospaced };

    double size = 0; ///< logical pixels
    Weight weight = Weight::regular;
    Design design = Design::interface;

    bool operator==(const FontStyle&) const = default;
};

/// The font of every text in the popover.
struct PopoverFonts {
    using enum FontStyle::Weight;
    using enum FontStyle::Design;

    static constexpr FontStyle kDialNumber{20, bold};
    static constexpr FontStyle kVerdict{17, semibold};
    static constexpr FontStyle kMachineLine{9.5, regular};
    static constexpr FontStyle kToggle{9.5, regular};
    static constexpr FontStyle kFactorName{10, regular, monospaced};
    static constexpr FontStyle kFactorPoints{9.5, medium};
    static constexpr FontStyle kFactorDetail{9, regular, monospaced};
    static constexpr FontStyle kFootnote{8.5, regular};
    static constexpr FontStyle kStatus{11, regular};
    static constexpr FontStyle kRowCaption{9.5, semibold, monospaced};
    static constexpr FontStyle kRowPercent{10, bold, monospaced};
    static constexpr FontStyle kRowDetail{9.5, regular, monospaced};
    static constexpr FontStyle kHoldersButton{10, regular};
    static constexpr FontStyle kHolderName{10.5, regular};
    static constexpr FontStyle kHolderSize{9.5, medium};
    static constexpr FontStyle kHoldersNote{9, regular};
    static constexpr FontStyle kListCaption{8.5, semibold};
    static constexpr FontStyle kProcessName{11, regular};
    static constexpr FontStyle kProcessSize{10, medium};
    static constexpr FontStyle kAction{11, regular};
    static constexpr FontStyle kActionSemibold{11, semibold};
    static constexpr FontStyle kBannerHeading{12.5, semibold};
    static constexpr FontStyle kBannerSubline{10.5, regular};
    static constexpr FontStyle kBannerNote{11, regular};
    static constexpr FontStyle kUpdateSmall{10, regular};
    static constexpr FontStyle kRemaining{9, regular};
    static constexpr FontStyle kAwakeControl{10, regular};
    static constexpr FontStyle kWarden{9.5, regular};
    static constexpr FontStyle kResult{9.5, regular, monospaced};
    static constexpr FontStyle kTip{10.5, regular};
};

} // namespace korvel
