#include "platform/macos/native/runtime/autorelease.h"

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/macos/native/runtime/objects.h"

namespace korvel::objc {

namespace {

struct Pools {
    std::vector<std::vector<void*>> stack;
    void* handedOver = nullptr;
};

Pools& pools() {
    static auto& all = *new Pools;
    return all;
}

/// Puts what nobody took over where it would have been.
void settle() {
    if (void* object = std::exchange(pools().handedOver, nullptr); object != nullptr) {
        if (pools().stack.empty()) {
            misuse("an object was autoreleased without a pool");
        }
        pools().stack.back().push_back(object);
    }
}

} // namespace

void autorelease(void* object) {
    settle();
    pools().handedOver = object;
    settle();
}

void handOver(void* object) {
    settle();
    pools().handedOver = object;
}

bool takeOver(void* object) {
    if (object == nullptr || pools().handedOver != object) {
        settle();
        return false;
    }
    pools().handedOver = nullptr;
    return true;
}

void* pushPool() {
    settle();
    pools().stack.emplace_back();
    return reinterpret_cast<void*>(pools().stack.size());
}

void popPool(void* pool) {
    settle();
    auto& stack = pools().stack;
    const auto depth = reinterpret_cast<std::uintptr_t>(pool);
    if (depth == 0 || depth > stack.size()) {
        misuse("a pool was popped that is none");
    }
    while (stack.size() >= depth) {
        // What ends may autorelease others, into the same pool.
        while (!stack.back().empty()) {
            void* object = stack.back().back();
            stack.back().pop_back();
            release(object);
            settle();
        }
        stack.pop_back();
    }
}

} // namespace korvel::objc
