#pragma once

namespace korvel {

class JsonWriter;
struct PopoverContent;

/// Writes the members of a content into the object that `json` has open, in the order in which the
/// popover shows them: the form that the simulation prints and docs/simulation.md describes.
void writeContentMembers(JsonWriter& json, const PopoverContent& content);

} // namespace korvel
