#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <simdjson.h>

#include "simulation/program.h"
#include "simulation/scenario.h"

namespace korvel::simulation {

/// One line of a trace. Its members are read by JSON pointer; a member that is not there, or of
/// another type, throws.
class TraceLine {
  public:
    explicit TraceLine(std::string_view line)
        : text_(line), parser_(std::make_shared<simdjson::dom::parser>()),
          root_(parser_->parse(simdjson::padded_string(line))) {}

    const std::string& text() const { return text_; }
    double t() const { return number("/t"); }
    std::string what() const { return string("/what"); }
    double number(std::string_view pointer) const { return root_.at_pointer(pointer).get_double(); }
    bool flag(std::string_view pointer) const { return root_.at_pointer(pointer).get_bool(); }
    std::string string(std::string_view pointer) const {
        return std::string(std::string_view(root_.at_pointer(pointer)));
    }
    /// Any member as JSON text.
    std::string json(std::string_view pointer) const {
        return simdjson::minify(simdjson::dom::element(root_.at_pointer(pointer)));
    }

  private:
    std::string text_;
    std::shared_ptr<simdjson::dom::parser> parser_;
    simdjson::dom::element root_;
};

using TraceLines = std::vector<TraceLine>;

/// Splits a trace into its lines.
inline TraceLines traceLines(std::string_view trace) {
    TraceLines lines;
    while (!trace.empty()) {
        const std::size_t end = trace.find('\n');
        if (end == std::string_view::npos) {
            throw std::runtime_error("the last line has no end");
        }
        lines.emplace_back(trace.substr(0, end));
        trace.remove_prefix(end + 1);
    }
    return lines;
}

/// Runs a scenario in this process and returns its whole trace.
inline std::string traceOf(std::string_view scenarioJson) {
    std::string trace;
    const Scenario scenario = *readScenario(scenarioJson);
    SimulatedProgram program(scenario, [&](std::string_view line) { trace += line; });
    program.run();
    return trace;
}

inline TraceLines runScenario(std::string_view scenarioJson) {
    return traceLines(traceOf(scenarioJson));
}

/// The same, where nobody is greeted and the feed was asked already.
inline TraceLines runQuietScenario(std::string_view scenarioJson) {
    std::string trace;
    Scenario scenario = *readScenario(scenarioJson);
    scenario.defaults.try_emplace("seenBuild", std::int64_t{100});
    scenario.defaults.try_emplace("lastUpdateCheck", scenario.start);
    SimulatedProgram program(scenario, [&](std::string_view line) { trace += line; });
    program.run();
    return traceLines(trace);
}

/// The lines of one kind.
inline TraceLines ofKind(const TraceLines& lines, std::string_view what) {
    TraceLines found;
    for (const TraceLine& line : lines) {
        if (line.what() == what) {
            found.push_back(line);
        }
    }
    return found;
}

/// The times of the lines of one kind.
inline std::vector<double> timesOf(const TraceLines& lines, std::string_view what) {
    std::vector<double> times;
    for (const TraceLine& line : ofKind(lines, what)) {
        times.push_back(line.t());
    }
    return times;
}

/// The kinds of the lines of one instant, in order.
inline std::vector<std::string> kindsAt(const TraceLines& lines, double t) {
    std::vector<std::string> kinds;
    for (const TraceLine& line : lines) {
        if (line.t() == t) {
            kinds.push_back(line.what());
        }
    }
    return kinds;
}

} // namespace korvel::simulation
