#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace korvel {

/// Keeps an observer registered; the observer is dropped with the last copy.
using Observation = std::shared_ptr<const std::function<void()>>;

/// Announces its changes. All on the main thread.
class ObservableObject {
  public:
    /// Calls `willChange` before each change of a published property, while the old value still
    /// stands, for as long as the returned observation is kept. Draw on the next turn of the run
    /// loop.
    [[nodiscard]] Observation observe(std::function<void()> willChange) const {
        auto observation = std::make_shared<const std::function<void()>>(std::move(willChange));
        observers_.push_back(observation);
        return observation;
    }

    void objectWillChange() const {
        std::erase_if(observers_, [](const auto& observer) { return observer.expired(); });
        // A copy: an observer may add another.
        const auto observers = observers_;
        for (const auto& observer : observers) {
            if (const Observation observation = observer.lock()) {
                (*observation)();
            }
        }
    }

  private:
    mutable std::vector<std::weak_ptr<const std::function<void()>>> observers_;
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
        tellOfSet();
        return *this;
    }

    /// Called after each assignment and change in place, for whoever must see every value; may be
    /// empty.
    std::function<void()> didSet;

    const T& get() const { return value_; }
    const T& operator*() const { return value_; }
    const T* operator->() const { return &value_; }

    /// Changes the value in place by `change(T&)`, announced once.
    template <typename Change>
    void update(Change change) {
        owner_.objectWillChange();
        change(value_);
        tellOfSet();
    }

  private:
    void tellOfSet() const {
        if (didSet) {
            didSet();
        }
    }

    ObservableObject& owner_;
    T value_;
};

} // namespace korvel
