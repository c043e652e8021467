#pragma once

#include <functional>
#include <utility>
#include <vector>

namespace korvel {

/// Announces its changes. All on the main thread.
class ObservableObject {
  public:
    /// Adds an observer that is called before each change of a published property, while the old
    /// value still stands; it must outlive this object or be harmless once its owner is gone. Draw
    /// on the next turn of the run loop.
    void observe(std::function<void()> willChange) { observers_.push_back(std::move(willChange)); }

    void objectWillChange() const {
        for (const std::function<void()>& willChange : observers_) {
            willChange();
        }
    }

  private:
    std::vector<std::function<void()>> observers_;
};

/// A property whose owner announces each change before it is written.
template <typename T>
class Published {
  public:
    explicit Published(ObservableObject& owner, T initial = T())
        : owner_(owner), value_(std::move(initial)) {}
    Published(const Published&) = delete;
    Published& operator=(const Published&) = delete;

    Published& operator=(T value) {
        owner_.objectWillChange();
        value_ = std::move(value);
        return *this;
    }

    const T& get() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    /// Changes the value in place by `change(T&)`, announced once.
    template <typename Change>
    void update(Change change) {
        owner_.objectWillChange();
        change(value_);
    }

  private:
    ObservableObject& owner_;
    T value_;
};

} // namespace korvel
