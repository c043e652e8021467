#pragma once

#include <string>
#include <variant>

namespace korvel {

/// What an updater is about, each case with what there is to tell of it.
namespace update_state {

/// A newer build is pending.
struct Available {
    std::string version;
    bool operator==(const Available&) const = default;
};

/// Its archive is on the way.
struct Downloading {
    double progress = 0; ///< 0 to 1, though only 0 is ever set
    bool operator==(const Downloading&) const = default;
};

/// The last check or installation did.
struct Failed {
    std::string message;
    bool operator==(const Failed&) const = default;
};

struct Idle {
    bool operator==(const Idle&) const = default;
};

struct Checking {
    bool operator==(const Checking&) const = default;
};

struct UpToDate {
    bool operator==(const UpToDate&) const = default;
};

/// The archive is being verified and put in place.
struct Installing {
    bool operator==(const Installing&) const = default;
};

/// The new bundle is in place.
struct ReadyToRelaunch {
    bool operator==(const ReadyToRelaunch&) const = default;
};

} // namespace update_state

using UpdaterState =
    std::variant<update_state::Available, update_state::Downloading, update_state::Failed,
                 update_state::Idle, update_state::Checking, update_state::UpToDate,
                 update_state::Installing, update_state::ReadyToRelaunch>;

} // namespace korvel
