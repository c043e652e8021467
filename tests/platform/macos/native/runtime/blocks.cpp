// Blocks and their shared variables, in the layout that the compiler publishes for them.
#include "platform/macos/native/runtime/blocks.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "platform/macos/native/runtime/entry_points.h"
#include "platform/macos/native/runtime/objects.h"

extern "C" {
void* _NSConcreteStackBlock[32];  // NOLINT
void* _NSConcreteGlobalBlock[32]; // NOLINT
static void* heapBlock[32];
}

namespace {

constexpr int kHasHelpers = 1 << 25; // to copy and to dispose, of a block or of a variable

// What a helper is about.
constexpr int kObject = 3;
constexpr int kBlock = 7;
constexpr int kVariable = 8;
constexpr int kWeak = 16;

struct Descriptor {
    uintptr_t reserved;
    uintptr_t size;
    void (*copy)(void* to, const void* from); ///< these two only with kHasHelpers
    void (*dispose)(const void* block);
};

struct Block {
    void* isa;
    int flags;
    int reserved;
    void (*invoke)();
    const Descriptor* descriptor;
};

/// A variable that is declared __block.
struct Variable {
    void* isa;
    Variable* forwarding; ///< where it is now
    int flags;
    uint32_t size;
    void (*keep)(void* to, void* from); ///< these two only with kHasHelpers
    void (*destroy)(void* variable);
};

void endBlock(void* object) {
    auto* block = static_cast<Block*>(object);
    if ((block->flags & kHasHelpers) != 0) {
        block->descriptor->dispose(block);
    }
    korvel::objc::forget(block);
    std::free(block);
}

void endVariable(void* object) {
    auto* variable = static_cast<Variable*>(object);
    if ((variable->flags & kHasHelpers) != 0) {
        variable->destroy(variable);
    }
    korvel::objc::forget(variable);
    std::free(variable);
}

/// The variable on the heap, with one more reference; the first time it moves there, and the stack
/// that it was on keeps one too.
void* shared(const void* object) {
    Variable* variable = static_cast<const Variable*>(object)->forwarding;
    if (variable->isa == &heapBlock) {
        korvel::objc::retain(variable);
        return variable;
    }
    auto* moved = static_cast<Variable*>(std::malloc(variable->size));
    std::memcpy(moved, variable, variable->size);
    if ((variable->flags & kHasHelpers) != 0) {
        variable->keep(moved, variable);
    }
    moved->isa = &heapBlock;
    moved->forwarding = moved;
    variable->forwarding = moved;
    korvel::objc::remember(moved, "variable of a block", &endVariable);
    korvel::objc::retain(moved);
    return moved;
}

} // namespace

bool korvel::objc::isBlock(const void* object) {
    if (object == nullptr) {
        return false;
    }
    const void* isa = *static_cast<void* const*>(object);
    return isa == &_NSConcreteStackBlock || isa == &_NSConcreteGlobalBlock || isa == &heapBlock;
}

extern "C" {

void* objc_retainBlock(void* object) {
    auto* block = static_cast<Block*>(object);
    if (block == nullptr || block->isa != &_NSConcreteStackBlock) {
        return objc_retain(block);
    }
    auto* copy = static_cast<Block*>(std::malloc(block->descriptor->size));
    std::memcpy(copy, block, block->descriptor->size);
    copy->isa = &heapBlock;
    if ((block->flags & kHasHelpers) != 0) {
        block->descriptor->copy(copy, block);
    }
    korvel::objc::remember(copy, "block", &endBlock);
    return copy;
}

void _Block_object_assign(void* to, const void* object, int about) {
    void** variable = static_cast<void**>(to);
    void* value = const_cast<void*>(object);
    switch (about) {
    case kObject:
        *variable = objc_retain(value);
        return;
    case kBlock:
        *variable = objc_retainBlock(value);
        return;
    case kVariable:
    case kVariable | kWeak:
        *variable = shared(value);
        return;
    default: // what a shared variable holds without a reference
        *variable = value;
    }
}

void _Block_object_dispose(const void* object, int about) {
    switch (about) {
    case kObject:
    case kBlock:
        objc_release(const_cast<void*>(object));
        return;
    case kVariable:
    case kVariable | kWeak: {
        Variable* variable = static_cast<const Variable*>(object)->forwarding;
        if (variable->isa == &heapBlock) {
            objc_release(variable);
        }
        return;
    }
    default:
        return;
    }
}

} // extern "C"
