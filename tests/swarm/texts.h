#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/simulated/processes.h"

/// What the worlds are furnished with: texts, each with what the program is to make of it.
namespace korvel::swarm {

/// What the reclaim script prints, and the preview that is to come of it.
struct ScriptText {
    std::string prints;
    std::string preview;
};
const std::vector<ScriptText>& scriptTexts();

/// What the tool for memory maps prints, and the bytes in swap that it tells.
struct MapText {
    std::string prints;
    double bytes;
};
const std::vector<MapText>& mapTexts();

/// Release notes, and the lines that are to be shown of them.
struct NotesText {
    std::string notes;
    std::vector<std::string> lines;
};
const std::vector<NotesText>& notesTexts();

/// The listing of the service manager, and whether the watchdog is in it.
struct AgentsText {
    std::string prints;
    bool loaded;
};
const std::vector<AgentsText>& agentsTexts();

/// A table of so many processes, always the same for a seed, with the number of each one's map.
std::vector<platform::SimulatedProcess> processTable(std::uint64_t seed, std::size_t count);

/// The feed's answer of that kind (0: a good one) that offers a build.
constexpr std::size_t kFeedKinds = 6;
std::string feedBody(std::size_t kind, std::int64_t build);
std::string versionOf(std::int64_t build);
const NotesText& notesOf(std::int64_t build);

/// What can be wrong with an archive, the first nothing. The message of the updater is what has to
/// come of it, empty where it is installed.
struct ArchiveFault {
    std::string_view name;
    std::string message;
};
const std::vector<ArchiveFault>& archiveFaults();

/// A text as JSON.
std::string jsonText(std::string_view text);

/// A number as text, without what is behind the point.
std::string whole(double number);

} // namespace korvel::swarm
