#pragma once

/// The pools that give references back later. Of one thread.
namespace korvel::objc {

/// The innermost pool gives the reference back when it is popped. Misuse: there is no pool.
void autorelease(void* object);

/// The same, unless the next that is asked for is `takeOver` of the same object.
void handOver(void* object);

/// Whether `object` was handed over last: then the reference is the caller's.
bool takeOver(void* object);

void* pushPool();

/// With all that were pushed after it. Misuse: it is none, or was popped.
void popPool(void* pool);

} // namespace korvel::objc
