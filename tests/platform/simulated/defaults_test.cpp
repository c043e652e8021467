#include "platform/simulated/defaults.h"

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "platform/defaults_suite.h"

namespace korvel::platform {
namespace {

class SimulatedStore final : public DefaultsStore {
  public:
    UserDefaults& launch() override {
        auto next = std::make_unique<SimulatedDefaults>();
        next->values = std::move(defaults_->values);
        defaults_ = std::move(next);
        return *defaults_;
    }

    std::optional<StoredValue> stored(const std::string& key) override {
        const auto found = defaults_->values.find(key);
        return found == defaults_->values.end() ? std::nullopt : std::optional(found->second);
    }

    void plant(const std::string& key, const StoredValue& value) override {
        defaults_->values[key] = value;
    }

  private:
    std::unique_ptr<SimulatedDefaults> defaults_ = std::make_unique<SimulatedDefaults>();
};

INSTANTIATE_TEST_SUITE_P(Simulated, DefaultsSuite,
                         testing::Values(DefaultsBackend{
                             "Memory", [] { return std::make_unique<SimulatedStore>(); }}),
                         defaultsName);

} // namespace
} // namespace korvel::platform
