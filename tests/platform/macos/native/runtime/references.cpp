#include <objc/message.h>

#include <cstddef>
#include <cstring>

#include "platform/macos/native/runtime/autorelease.h"
#include "platform/macos/native/runtime/blocks.h"
#include "platform/macos/native/runtime/entry_points.h"
#include "platform/macos/native/runtime/objects.h"

using korvel::objc::ClassRecord;

extern "C" {

void* objc_alloc(ClassRecord* type) {
    return type != nullptr ? korvel::objc::allocate(type) : nullptr;
}

void* objc_alloc_init(ClassRecord* type) {
    using Init = void* (*)(void*, SEL);
    return reinterpret_cast<Init>(&objc_msgSend)(objc_alloc(type), sel_registerName("init"));
}

void* objc_retain(void* object) {
    korvel::objc::retain(object);
    return object;
}

void objc_release(void* object) {
    korvel::objc::release(object);
}

void objc_storeStrong(void** variable, void* object) {
    void* before = *variable;
    if (object != before) {
        objc_retain(object);
        *variable = object;
        objc_release(before);
    }
}

void* objc_autorelease(void* object) {
    korvel::objc::autorelease(object);
    return object;
}

void* objc_retainAutorelease(void* object) {
    return objc_autorelease(objc_retain(object));
}

/// A result on its way to a caller, who most often keeps it: then it never enters the pool.
void* objc_autoreleaseReturnValue(void* object) {
    korvel::objc::handOver(object);
    return object;
}

void* objc_retainAutoreleaseReturnValue(void* object) {
    return objc_autoreleaseReturnValue(objc_retain(object));
}

void* objc_retainAutoreleasedReturnValue(void* object) {
    return korvel::objc::takeOver(object) ? object : objc_retain(object);
}

void* objc_unsafeClaimAutoreleasedReturnValue(void* object) {
    if (korvel::objc::takeOver(object)) {
        objc_release(object);
    }
    return object;
}

void* objc_autoreleasePoolPush() {
    return korvel::objc::pushPool();
}

void objc_autoreleasePoolPop(void* pool) {
    korvel::objc::popPool(pool);
}

// Properties whose accessors the compiler leaves to the runtime. `offset` is in bytes.

void* objc_getProperty(void* self, SEL, ptrdiff_t offset, bool atomic) {
    void* value = *reinterpret_cast<void**>(static_cast<char*>(self) + offset);
    return atomic ? objc_retainAutoreleaseReturnValue(value) : value;
}

void objc_setProperty_atomic(void* self, SEL, void* value, ptrdiff_t offset) {
    objc_storeStrong(reinterpret_cast<void**>(static_cast<char*>(self) + offset), value);
}

void objc_setProperty_atomic_copy(void* self, SEL selector, void* value, ptrdiff_t offset) {
    using Copy = void* (*)(void*, SEL);
    void* copy = korvel::objc::isBlock(value)
                     ? objc_retainBlock(value)
                     : reinterpret_cast<Copy>(&objc_msgSend)(value, sel_registerName("copy"));
    objc_setProperty_atomic(self, selector, copy, offset);
    objc_release(copy);
}

void objc_setProperty_nonatomic_copy(void* self, SEL selector, void* value, ptrdiff_t offset) {
    objc_setProperty_atomic_copy(self, selector, value, offset);
}

void objc_copyStruct(void* to, const void* from, ptrdiff_t size, bool /*atomic*/, bool /*strong*/) {
    std::memmove(to, from, static_cast<std::size_t>(size));
}

} // extern "C"
