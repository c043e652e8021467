#pragma once

/// What the compiler calls by these names, as its description of automatic reference counting gives
/// them. An object is a `void*` here.
extern "C" {

void* objc_retain(void* object);
void objc_release(void* object);
void* objc_autorelease(void* object);
void* objc_retainBlock(void* block);
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* pool);

} // extern "C"
