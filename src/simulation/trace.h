#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/power.h"
#include "platform/simulated/defaults.h"
#include "update/updater.h"

namespace korvel {
class Awake;
class JsonWriter;
class Model;
class WhatsNew;
struct PopoverContent;
struct ProcInfo;
struct Snapshot;
} // namespace korvel

namespace korvel::platform {
struct Notification;
struct StatusTitle;
} // namespace korvel::platform

namespace korvel::simulation {

/// Writes what can be observed of a simulated program: one JSON object a line, described in
/// docs/simulation.md.
class Trace {
  public:
    /// `elapsed` tells the seconds since the launch; `print` takes each line, with its end.
    Trace(std::function<double()> elapsed, std::function<void(std::string_view line)> print);

    void title(const platform::StatusTitle& title);
    void snapshot(const Snapshot& snapshot);
    /// `file` as the user would name it: relative to the home directory.
    void wrote(std::string_view file, std::string_view bytes);
    void popover(bool shown);
    void spawn(const std::string& executable, const std::vector<std::string>& arguments);
    void signal(std::int32_t pid); ///< the only one that is ever sent: SIGTERM
    void content(const PopoverContent& content);
    void swapHolders(bool scanning, const std::vector<ProcInfo>& holders);
    void notification(const platform::Notification& notification);
    /// `value` null: the key was removed.
    void defaults(const std::string& key, const platform::SimulatedDefaults::Value* value);
    void assertion(const char* op, platform::PowerAssertionType type,
                   platform::PowerAssertionId id);
    void awake(const Awake& awake);
    void reclaim(const Model& model);
    void updater(const Updater::State& state);
    void whatsNew(const WhatsNew& whatsNew);
    void revealed(const std::string& path);
    void relaunched(const std::string& bundle);
    void exit(std::string_view reason);

  private:
    template <typename WriteMembers>
    void line(std::string_view what, WriteMembers writeMembers);

    std::function<double()> elapsed_;
    std::function<void(std::string_view)> print_;
};

} // namespace korvel::simulation
