#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/simulated/services.h"
#include "update/update_printing.h"
#include "update/updater.h"

namespace korvel {

/// The feed that tells of that build.
inline std::string feedOf(std::int64_t build, const std::string& version = "2.0",
                          const std::string& notes = "- One") {
    return R"({"version": ")" + version + R"(", "build": )" + std::to_string(build) +
           R"(, "url": "https://host/a.zip", "sha256": "00", "notes": ")" + notes +
           R"(", "minimumOS": "99.0"})";
}

/// An updater on the simulated machine, whose running build is 100, and what the server answers it.
class Check : public testing::Test {
  protected:
    void make() {
        updater = std::make_shared<Updater>(simulated.services());
        states.clear();
        updater->state.didSet = [this] { states.push_back(*updater->state); };
    }
    void answers(std::string body, int status = 200, double delay = 0) {
        simulated.http.document = platform::SimulatedHttp::Answer{status, std::move(body), delay};
    }
    /// Checks on the user's behalf and lets the answer come.
    void check() {
        updater->check(true);
        simulated.runLoop.advance(0);
    }
    const platform::SimulatedDefaults::Value& stored() {
        return simulated.defaults.values["lastUpdateCheck"];
    }

    platform::SimulatedServices simulated;
    std::shared_ptr<Updater> updater = std::make_shared<Updater>(simulated.services());
    std::vector<Updater::State> states; ///< that were set
};

} // namespace korvel
