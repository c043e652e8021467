#pragma once

#include <functional>

/// What holds for every test: it runs within a pool of its own, and leaves nothing alive.
namespace korvel::objc {

/// Runs `forget` at the end of each test, before what is still alive is counted: a stand-in lets go
/// of what it shares with everybody.
void atEndOfTest(std::function<void()> forget);

} // namespace korvel::objc
