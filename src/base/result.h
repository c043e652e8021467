#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

// What a function gives that can fail for reasons which somebody wants to know. Where the reason is
// nobody's, as with a reading of the machine, std::optional says enough.
namespace korvel {

/// Why something was not done. It holds no sentences: these are made where they are shown.
template <typename Code>
struct Error {
    Code code;                ///< of an enumeration, which lists what can go wrong
    std::string subject = {}; ///< what it is about, such as a path or a key; "" where that is plain
    /// What there is to tell besides, as the code says: a number, or what the system or a library
    /// says itself. Mostly "".
    std::string detail = {};

    bool operator==(const Error&) const = default;
};

template <typename Code>
Error(Code) -> Error<Code>;
template <typename Code>
Error(Code, std::string) -> Error<Code>;
template <typename Code>
Error(Code, std::string, std::string) -> Error<Code>;

/// A value, or the error that there is instead.
template <typename Value, typename Code>
class [[nodiscard]] Result {
  public:
    Result(Value value) : held_(std::in_place_index<0>, std::move(value)) {}
    Result(Error<Code> error) : held_(std::in_place_index<1>, std::move(error)) {}

    /// Whether there is a value.
    explicit operator bool() const { return held_.index() == 0; }

    /// The value, where there is one.
    const Value& operator*() const& { return std::get<0>(held_); }
    Value&& operator*() && { return std::get<0>(std::move(held_)); }
    const Value* operator->() const { return &std::get<0>(held_); }

    /// The error, where there is no value.
    const Error<Code>& error() const { return std::get<1>(held_); }

    bool operator==(const Result&) const = default;

  private:
    std::variant<Value, Error<Code>> held_;
};

/// That something was done, or the error that kept it from being.
template <typename Code>
class [[nodiscard]] Status {
  public:
    Status() = default;
    Status(Error<Code> error) : error_(std::move(error)) {}

    /// Whether it was done.
    explicit operator bool() const { return !error_; }

    /// The error, where it was not.
    const Error<Code>& error() const { return error_.value(); }

    bool operator==(const Status&) const = default;

  private:
    std::optional<Error<Code>> error_;
};

} // namespace korvel
