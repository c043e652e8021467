#pragma once

#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel::test {

/// A second opinion on history files: a reader of arrays of arrays of numbers, written from the
/// grammar of JSON with nothing shared with the program's own. Rows as they stand, of any length;
/// none for any text that is something else, a number too large for a double included.
class StrictHistory {
  public:
    using Rows = std::vector<std::vector<double>>;

    static std::optional<Rows> read(const std::string& text) {
        StrictHistory reader(text);
        Rows rows;
        const bool good = reader.list([&] {
            rows.emplace_back();
            return reader.list([&] { return reader.number(rows.back()); });
        });
        reader.space();
        if (!good || reader.at_ != text.size()) {
            return std::nullopt;
        }
        return rows;
    }

  private:
    explicit StrictHistory(const std::string& text) : text_(text) {}

    char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }

    void space() {
        while (at_ < text_.size() && std::string_view(" \t\r\n").find(peek()) < 4) {
            ++at_;
        }
    }

    bool take(char c) {
        space();
        const bool there = at_ < text_.size() && text_[at_] == c;
        at_ += there ? 1 : 0;
        return there;
    }

    template <typename Element>
    bool list(Element element) {
        if (!take('[')) {
            return false;
        }
        if (take(']')) {
            return true;
        }
        do {
            if (!element()) {
                return false;
            }
        } while (take(','));
        return take(']');
    }

    bool digits() {
        const std::size_t start = at_;
        while (peek() >= '0' && peek() <= '9') {
            ++at_;
        }
        return at_ > start;
    }

    bool number(std::vector<double>& row) {
        space();
        const std::size_t start = at_;
        if (peek() == '-') {
            ++at_;
        }
        if (peek() == '0') {
            ++at_;
        } else if (!digits()) {
            return false;
        }
        if (peek() == '.') {
            ++at_;
            if (!digits()) {
                return false;
            }
        }
        if (peek() == 'e' || peek() == 'E') {
            ++at_;
            if (peek() == '+' || peek() == '-') {
                ++at_;
            }
            if (!digits()) {
                return false;
            }
        }
        const double value = std::strtod(text_.substr(start, at_ - start).c_str(), nullptr);
        row.push_back(value);
        return value - value == 0; // finite
    }

    const std::string& text_;
    std::size_t at_ = 0;
};

} // namespace korvel::test
