#pragma once

#include <objc/runtime.h>

#include <cstddef>

#include "platform/macos/native/runtime/layout.h"

/// The classes of this program, with the instance variables of each behind those of its superclass,
/// whatever a header hid of that one, and with the methods of its categories.
namespace korvel::objc {

/// Of an instance, in bytes.
std::size_t instanceSize(const ClassRecord* type);

/// The class's own method, else the nearest one above it; null when there is none.
Implementation methodOf(const ClassRecord* type, SEL selector);

/// Whether `type` or one above it is `ancestor`.
bool isOrInherits(const ClassRecord* type, const ClassRecord* ancestor);

/// Whether `type` or one above it says so, of the protocol itself or of one that includes it.
bool conforms(const ClassRecord* type, const char* protocol);

/// Whether it is the address of a class or of a metaclass.
bool isClass(const void* address);

/// Whether it is the address of a protocol, as `@protocol(Name)` gives it.
bool isProtocol(const void* address);

/// Runs the constructors, or the destructors, of an object's C++ members.
void constructMembers(void* object, const ClassRecord* type);
void destructMembers(void* object, const ClassRecord* type);

} // namespace korvel::objc
