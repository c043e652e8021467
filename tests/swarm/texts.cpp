#include "swarm/texts.h"

#include <fmt/format.h>

#include "base/json_writer.h"
#include "support/generator.h"

namespace korvel::swarm {

const std::vector<ScriptText>& scriptTexts() {
    static const std::vector<ScriptText> texts{
        {"TOTAL RECLAIMABLE 1.0 GB\n", "1.0 GB"},
        {"caches 3 GB\nTOTAL RECLAIMABLE: 2.5   GB\n", "2.5 GB"},
        {"TOTAL RECLAIMABLE 9 GB\nnow for real\nTOTAL RECLAIMABLE 4.7 GB", "4.7 GB"},
        {"", "nothing worth clearing"},
        {"total reclaimable 3 GB\n", "nothing worth clearing"},
        {"TOTAL RECLAIMABLE\n", "TOTAL RECLAIMABLE"},
        {"TOTAL RECLAIMABLE 3 GB\n\xff\xfe", "nothing worth clearing"},
        {std::string(70000, 'x') + "\nTOTAL RECLAIMABLE 8 MB\n", "8 MB"},
    };
    return texts;
}

const std::vector<MapText>& mapTexts() {
    static const std::vector<MapText> texts{
        {"Writable regions: Total=9G swapped_out=300M unallocated=1G", 300.0 * 1048576},
        {"x\nWritable regions: swapped_out=1.5G\n", 1.5 * 1073741824},
        {"Writable regions: swapped_out=40M", 40.0 * 1048576},
        {"Writable regions: swapped_out=512k(12%)", 512.0 * 1024},
        {"Writable regions: swapped_out=2147483648", 2147483648.0},
        {"Writable regions: none", 0},
        {"swapped_out=8G\n", 0},
        {"Writable regions: swapped_out=1..5G", 0},
        {"\xff Writable regions: swapped_out=8G", 0},
        {"", 0},
        {std::string(100000, '-') + "\nWritable regions: swapped_out=3G", 3.0 * 1073741824},
    };
    return texts;
}

const std::vector<NotesText>& notesTexts() {
    static const std::vector<NotesText> texts{
        {"• Faster sampling\n• Fixed swap readout\n- New icon\n* Extra line",
         {"Faster sampling", "Fixed swap readout", "New icon"}},
        {"", {}},
        {"   \n\n", {}},
        {"Uses a-b notation -", {"Uses a-b notation"}},
        {"one•two\n\nthree•four", {"one", "two", "three"}},
    };
    return texts;
}

const std::vector<AgentsText>& agentsTexts() {
    static const std::vector<AgentsText> texts{
        {"", false},
        {"312\t0\tcom.oxbrook.warden.agent\n", true},
        {"-\t0\tcom.oxbrook.warden\n", false},
        {"-\t78\tcom.oxbrook.warden.agent.old\n", true},
    };
    return texts;
}

std::vector<platform::SimulatedProcess> processTable(std::uint64_t seed, std::size_t count) {
    test::Generator generator(seed);
    std::vector<platform::SimulatedProcess> table;
    for (std::size_t i = 0; i < count; ++i) {
        platform::SimulatedProcess process;
        // Now and then the program itself, and a number that is no process.
        process.pid = static_cast<std::int32_t>(400 + i);
        if (i == 3 && generator.chance()) {
            process.pid = 500;
        } else if (i == 5 && generator.chance()) {
            process.pid = 0;
        }
        process.name = generator.below(12) == 0 ? "" : fmt::format("process {}", i);
        if (generator.below(16) == 0) {
            process.name = "naïve “{}” %s <b>";
        }
        if (generator.below(12) != 0) {
            process.physFootprint = generator.below(8) == 0
                                        ? generator.below(std::uint64_t{12} << 30)
                                        : generator.below(std::uint64_t{2} << 30);
        }
        if (generator.below(3) != 0) {
            process.vmmap = mapTexts()[generator.below(mapTexts().size())].prints;
        }
        table.push_back(process);
    }
    return table;
}

std::string feedBody(std::size_t kind, std::int64_t build) {
    constexpr const char* kDigest = // of "zip"
        "4A70fe9aa6436e02c2dea340fbd1e352e4ef2d8ce6ca52ad25d4b95471fc8bf2";
    const std::string rest =
        fmt::format(R"("sha256": "{}", "notes": {})", kDigest, jsonText(notesOf(build).notes));
    const std::string version = jsonText(versionOf(build));
    switch (kind) {
    case 0:
    case 1: // with another status
        return fmt::format(R"({{"version": {}, "build": {}, "url": "https://host/a.zip", {}}})",
                           version, build, rest);
    case 2:
        return "{\"version\": ";
    case 3:
        return fmt::format(R"({{"version": {}, "build": {}, "url": "http://host/a.zip", {}}})",
                           version, build, rest);
    case 4:
        return fmt::format(R"({{"version": {}, "build": "{}", "url": "https://host/a.zip", {}}})",
                           version, build, rest);
    default:
        return fmt::format(R"({{"version": {}, "build": {}, "url": "https://host/a.zip"}})",
                           version, build);
    }
}

std::string versionOf(std::int64_t build) {
    return fmt::format("1.{}", build);
}

const NotesText& notesOf(std::int64_t build) {
    return notesTexts()[static_cast<std::size_t>(build) % notesTexts().size()];
}

const std::vector<ArchiveFault>& archiveFaults() {
    static const std::string notSigned = "Update is not signed by Oxbrook; refusing to install";
    static const std::string move = "Could not replace the app: It cannot be moved.";
    static const std::vector<ArchiveFault> faults{
        {"good", ""},
        {"unreachable", "Download failed"},
        {"status", "Download failed"},
        {"bytes", "Update failed its integrity check"},
        {"unpack", "Update could not be unpacked"},
        {"no bundle", "Update could not be unpacked"},
        {"unsigned", notSigned},
        {"other team", notSigned},
        {"not strict", notSigned},
        {"first move", move},
        {"second move", move},
        {"no way back", move},
    };
    return faults;
}

std::string jsonText(std::string_view text) {
    JsonWriter json;
    json.value(text);
    return json.text();
}

std::string whole(double number) {
    return std::to_string(static_cast<long long>(number));
}

} // namespace korvel::swarm
