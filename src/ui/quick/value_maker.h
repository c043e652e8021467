#pragma once

#include <string>

#include <QString>

#include "ui/content/popover_content.h"
#include "ui/content/words.h"
#include "ui/quick/row_values.h"
#include "ui/quick/section_values.h"

namespace korvel {

/// Makes the values that the views show of a popover's content: the program's texts in the words of
/// the desktop, names of processes as they are, and nothing in either that cannot be painted.
class ValueMaker {
  public:
    /// `awakeWords` may be empty.
    explicit ValueMaker(Words words, AwakeWords awakeWords = {})
        : words_(std::move(words)), awakeWords_(std::move(awakeWords)) {}

    FactorValue of(const PopoverContent::FactorLine& line) const;
    StatusValue of(const PopoverContent::StatusLine& line) const;
    MetricValue of(const Row& row) const;
    ProcessValue of(const PopoverContent::ProcessLine& line) const;

    /// What a screen reader says of the sections.
    SpokenValue spoken(const PopoverContent& content) const;
    BannerValue of(const PopoverContent::Banner& banner) const;
    HeaderValue of(const PopoverContent::Header& header) const;
    SwapHoldersValue of(const PopoverContent::SwapHolders& block) const;
    AwakeValue of(const PopoverContent::KeepAwake& keepAwake) const;
    UpdateValue of(const PopoverContent::UpdateLine& line) const;
    FooterValue of(const PopoverContent::Footer& footer) const;

    /// A text of the program.
    QString text(const std::string& finished) const;

  private:
    Words words_;
    AwakeWords awakeWords_;
};

} // namespace korvel
