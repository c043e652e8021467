#pragma once

/// The variables that name an object without keeping it alive.
namespace korvel::objc {

/// Of an object that ends: they are nil from now on.
void clearWeakReferences(void* object);

} // namespace korvel::objc
