#pragma once

namespace korvel {

class JsonWriter;
struct ProcInfo;
struct Snapshot;

/// Writes a process as an object of its "id", "name" and "gb".
void writeProcess(JsonWriter& json, const ProcInfo& process);

/// Writes a reading's members into the object that `json` has open: the fields of `Snapshot` under
/// their own names, `memPressure` and `thermal` as the system's numbers, `runaway` null or an
/// object, and with them `worstFactor` (null or an object) and `thermalLabel`.
void writeSnapshotMembers(JsonWriter& json, const Snapshot& snapshot);

} // namespace korvel
