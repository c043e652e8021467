// What may be asked of the runtime by name.
#pragma once

#include <objc/objc.h>

extern "C" {

/// nil of nil.
Class object_getClass(id object);
/// nil when the program has no such class.
Class objc_lookUpClass(const char* name);
const char* protocol_getName(Protocol* protocol);

} // extern "C"
