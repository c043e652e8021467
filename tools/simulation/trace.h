#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace korvel {
class JsonWriter;
struct Snapshot;
} // namespace korvel

namespace korvel::platform {
struct StatusTitle;
}

namespace korvel::simulation {

/// What the world sees of a simulated program: one JSON object a line, described in
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
    void exit(std::string_view reason);

  private:
    template <typename WriteMembers>
    void line(std::string_view what, WriteMembers writeMembers);

    std::function<double()> elapsed_;
    std::function<void(std::string_view)> print_;
};

} // namespace korvel::simulation
