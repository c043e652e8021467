#include "simulation/command_line.h"

#include <cstdint>
#include <limits>
#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <fmt/format.h>

#include "base/fatal.h"
#include "base/json_writer.h"
#include "platform/posix/command_answer.h"
#include "platform/posix/file_descriptor.h"
#include "platform/posix/whole_file.h"

namespace korvel::simulation {

namespace {

/// On one line whatever it holds.
std::string inQuotes(std::string_view text) {
    JsonWriter json;
    json.value(text);
    return json.text();
}

} // namespace

Result<Scenario, ScenarioFault> loadScenario(const std::string& path) {
    // Of any kind: a scenario may come through a pipe.
    const platform::FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const auto text = platform::readAll(file.get(), std::numeric_limits<std::uint64_t>::max());
    if (!text) {
        return Error{ScenarioFault::unreadable, path};
    }
    return readScenario(*text);
}

std::string complaintOf(const Error<ScenarioFault>& error) {
    const std::string value = error.subject.empty() ? "the scenario" : inQuotes(error.subject);
    switch (error.code) {
    case ScenarioFault::unreadable:
        return fmt::format("cannot read {}", error.subject);
    case ScenarioFault::notJson:
        return fmt::format("no valid JSON: {}", error.detail);
    case ScenarioFault::unknownKey:
        return fmt::format("unknown key {}", inQuotes(error.subject));
    case ScenarioFault::missing:
        return value + " is missing";
    case ScenarioFault::givenTwice:
        return value + " is given twice";
    case ScenarioFault::notANumber:
        return value + " must be a number";
    case ScenarioFault::notAFlag:
        return value + " must be true or false";
    case ScenarioFault::notAText:
        return value + " must be a string";
    case ScenarioFault::notAWholeNumber:
        return fmt::format("{} must be a whole number from {}", value, error.detail);
    case ScenarioFault::notAnObject:
        return value + " must be an object";
    case ScenarioFault::notAnArray:
        return value + " must be an array";
    case ScenarioFault::otherLength:
        return fmt::format("{} must have {} elements", value, error.detail);
    case ScenarioFault::negative:
        return value + " must not be negative";
    case ScenarioFault::notASetting:
        return value + " must be a number, a string, true or false";
    case ScenarioFault::unknownAction:
        return fmt::format("{} is no known action: {}", value, inQuotes(error.detail));
    case ScenarioFault::secondForm:
        return value + " is a second form of one event";
    case ScenarioFault::withoutForm:
        return value + " does nothing: it has neither \"set\" nor \"do\"";
    case ScenarioFault::beforeTheLast:
        return value + " is earlier than the event before it";
    }
    fatal();
}

int complain(std::string_view program, std::string_view text) {
    platform::writeAll(STDERR_FILENO, fmt::format("{}: {}\n", program, text));
    return platform::kWrongUsage;
}

int complain(std::string_view program, std::string_view path, const Error<ScenarioFault>& error) {
    const std::string complaint = complaintOf(error);
    return complain(program, error.code == ScenarioFault::unreadable
                                 ? complaint
                                 : fmt::format("{}: {}", path, complaint));
}

} // namespace korvel::simulation
