#pragma once

namespace korvel::platform {

class Agents;
class Archive;
class Bundle;
class ChildProcesses;
class Clock;
class CodeSignature;
class Digest;
class FileManager;
class Files;
class Http;
class Machine;
class Notifications;
class PowerAssertions;
class Processes;
class ProgramLoader;
class RunLoop;
class StatusBar;
class SwappedMemory;
class UserDefaults;
class Workspace;

/// All that the program reaches the system through. Made once in main, or by a test, and handed
/// down by constructor; a class keeps references to the services it uses, not to this struct. The
/// services outlive everything that was given them.
struct Services {
    Machine& machine;
    Processes& processes;
    SwappedMemory& swappedMemory;
    Agents& agents;
    ChildProcesses& childProcesses;
    Clock& clock;
    RunLoop& runLoop;
    Files& files;
    StatusBar& statusBar;
    UserDefaults& defaults;
    PowerAssertions& power;
    Notifications& notifications;
    Bundle& bundle;
    Http& http;
    FileManager& fileManager;
    Digest& digest;
    Archive& archive;
    CodeSignature& codeSignature;
    ProgramLoader& programLoader;
    Workspace& workspace;
};

/// The set that the program's shared instances are built on; null until main, or a test, sets it.
inline const Services* installedServices = nullptr;

} // namespace korvel::platform
