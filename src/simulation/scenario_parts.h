#pragma once

#include <memory>
#include <vector>

#include "simulation/json_value.h"
#include "simulation/scenario.h"

/// The readers of a scenario's parts. Each throws at what is wrong, as json_value.h says.
namespace korvel::simulation {

/// The document that a scenario was read from. Changes of the machine read it when they are made.
using Document = std::shared_ptr<simdjson::dom::parser>;

/// Checks the machine keys of `object` and makes the change that they stand for.
MachineChange readMachine(const JsonValue& object, const Document& document);

/// The list of events. Throws also when they are not in time order.
std::vector<ScenarioEvent> readEvents(const JsonValue& array, const Document& document);

/// A value of the user defaults. A number without a fraction or exponent is an integer.
platform::SimulatedDefaults::Value readStored(const JsonValue& value);

/// What the feed answers: {"status", "body", "delay"} or {"error": true}.
ScriptedFeed readFeed(const JsonValue& object);

/// A number of seconds from 0 up.
double readSeconds(const JsonValue& value);

} // namespace korvel::simulation
