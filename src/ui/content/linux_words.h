#pragma once

#include <string>

namespace korvel {

/// A finished text of the program as a Linux desktop is to show it, say it or post it: the texts
/// that name the Mac's system say the same of Linux, all others stay as they are. Only the
/// program's own phrases are known, in the places where it puts them, so that the name of a process
/// or a file is never rewritten.
std::string linuxWords(std::string text);

/// The same on a desktop where nothing shows the item: the welcome says how to get there, and how
/// the popover opens meanwhile.
std::string linuxWordsWithoutTray(std::string text);

/// What of the two is kept awake, as a Linux desktop says it, where each may be refused alone;
/// empty where neither is.
std::string linuxAwakeWords(bool display, bool system);

} // namespace korvel
