#pragma once

#include "platform/power.h"

namespace korvel::platform {

/// The power assertions of IOKit.
class MacosPowerAssertions final : public PowerAssertions {
  public:
    std::optional<PowerAssertionId> create(PowerAssertionType type,
                                           const std::string& name) override;
    bool holds(PowerAssertionId id) const override;
    void release(PowerAssertionId id) override;
};

} // namespace korvel::platform
