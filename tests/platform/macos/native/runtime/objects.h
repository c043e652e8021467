#pragma once

#include <objc/objc.h>

#include <cstddef>
#include <map>
#include <string>

#include "platform/macos/native/runtime/layout.h"

/// Who is alive, and how many references each has. The memory of what has died is really freed, so
/// the address sanitizer sees a use of it; its address is remembered, so a message to it names its
/// class. Of one thread.
namespace korvel::objc {

/// Prints what was done wrong and where, and ends the program: nothing that follows would mean
/// anything.
[[noreturn]] void misuse(const std::string& what);

/// How the last reference to something ends it. It then calls `forget` and frees the memory.
using End = void (*)(void* object);

/// From now on `object` is alive, with one reference. `kind` is what to call it.
void remember(void* object, const std::string& kind, End end);

/// From now on it is dead.
void forget(void* object);

/// A new instance, zeroed, with its C++ members constructed and one reference.
void* allocate(ClassRecord* type);

/// Frees an instance whose `dealloc` is done.
void dispose(void* object);

/// Adds a reference, or takes one away; the last one ends it. Nothing happens to null and to what
/// is never freed: classes, texts of the source, blocks without variables. Misuse: a dead one, or
/// none.
void retain(void* object);
void release(void* object);

/// Whether its last reference has gone and its `dealloc` runs.
bool ending(const void* object);

/// The class to look for a method of `receiver` in. Misuse: it is dead, or was never alive.
const ClassRecord* receiverClass(void* receiver, SEL selector);

/// Names of classes and how many objects of each are alive; "a block" and "a variable of a block"
/// too.
std::map<std::string, std::size_t> liveObjects();

} // namespace korvel::objc
