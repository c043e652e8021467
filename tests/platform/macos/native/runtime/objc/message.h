// Sending a message whose selector is known only when it is sent.
#pragma once

#include <objc/objc.h>

extern "C" {

/// Called as a function of the type of the method: reinterpret_cast<void (*)(id, SEL,
/// id)>(&objc_msgSend).
id objc_msgSend(id receiver, SEL selector, ...);

} // extern "C"
