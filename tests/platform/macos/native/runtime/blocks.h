#pragma once

#include "platform/macos/native/runtime/layout.h"

/// Whose address is the first word of a block that is on the stack, and of one without variables.
extern "C" {
extern void* _NSConcreteStackBlock[32];  // NOLINT
extern void* _NSConcreteGlobalBlock[32]; // NOLINT
/// The class of the texts in the source.
extern korvel::objc::ClassRecord __CFConstantStringClassReference; // NOLINT
}

namespace korvel::objc {

bool isBlock(const void* object);

} // namespace korvel::objc
