#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/simulated/services.h"
#include "update/update_printing.h"
#include "update/updater.h"

namespace korvel {

inline const std::string kRunning = "/Applications/Korvel.app";
inline const std::string kWork = "/tmp/korvel-update-00000000-0000-0001-0000-000000000000";
inline const Updater::State kDownloading = update_state::Downloading{};
inline const Updater::State kInstalling = update_state::Installing{};
inline const Updater::State kReady = update_state::ReadyToRelaunch{};

inline Updater::State failed(const std::string& message) {
    return update_state::Failed{message};
}

/// An installation on the simulated machine, of a release that is pending and whole.
class Install : public testing::Test {
  protected:
    Install() {
        simulated.fileManager.folders.insert(kRunning);
        simulated.http.archive = platform::SimulatedHttp::Answer{200, "zipped", 0};
        simulated.digest.digest = [](std::string_view bytes) {
            platform::Sha256 digest{};
            digest[0] = 0xab;
            digest[31] = static_cast<std::uint8_t>(bytes.size());
            return digest;
        };
        updater->pending = release();
        updater->state.didSet = [this] { states.push_back(*updater->state); };
        simulated.logTo(log);
    }

    static Release release(const std::string& notes = "- One") {
        return {"2.0", 101,   "https://host/a.zip", "ab" + std::string(60, '0') + "06",
                notes, "13.0"};
    }

    void install() {
        updater->installPending();
        simulated.runLoop.advance(10);
    }

    /// What was done to the file system and by the tools, without the questions.
    platform::CallLog calls() const {
        platform::CallLog seen;
        for (const std::string& call : log) {
            for (const char* verb :
                 {"download ", "createDirectory ", "read ", "sha256 ", "unpack ", "contents ",
                  "describe ", "verifyStrictly ", "reveal ", "load ", "flush ", "exchange ",
                  "recordReplacement ", "move ", "remove "}) {
                if (call.starts_with(verb)) {
                    seen.push_back(call);
                }
            }
        }
        return seen;
    }

    using Move = Status<std::errc>;

    /// What comes of the moves of the swap, and of the way back.
    void scriptMoves(const Move& first, const Move& second, const Move& back = {}) {
        simulated.fileManager.onMove = [=](const std::string& from, const std::string& to) {
            if (from == kRunning) {
                return first;
            }
            return to != kRunning ? Move() : from == kWork + "/old.app" ? back : second;
        };
    }

    void expectFailure(const std::string& message) {
        install();
        ASSERT_FALSE(states.empty());
        EXPECT_EQ(states.back(), failed(message));
        expectNothingChanged();
    }
    void expectNothingChanged() {
        EXPECT_EQ(simulated.fileManager.folders, std::set<std::string>{kRunning});
        EXPECT_THAT(simulated.files.contents, testing::IsEmpty());
        EXPECT_THAT(simulated.defaults.values, testing::IsEmpty());
        EXPECT_EQ(updater->pending, release());
    }

    platform::CallLog log;
    platform::SimulatedServices simulated;
    std::uint64_t uuids = 0;
    std::shared_ptr<Updater> updater = std::make_shared<Updater>(simulated.services(), [this] {
        return Uuid{{++uuids, 0}};
    });
    std::vector<Updater::State> states; ///< that were set
};

} // namespace korvel
