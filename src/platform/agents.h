#pragma once

#include <string>

namespace korvel::platform {

/// The user's service manager.
class Agents {
  public:
    virtual ~Agents() = default;

    /// Whether an agent of this reverse-DNS label is loaded, with or without a live process. False
    /// also when the manager cannot be asked.
    virtual bool isLoaded(const std::string& label) = 0;
};

} // namespace korvel::platform
