#include "platform/macos/native/runtime/objects.h"

#include <objc/runtime.h>
#include <sanitizer/common_interface_defs.h>

#include <cstdio>
#include <cstdlib>
#include <unordered_map>
#include <utility>

#include "platform/macos/native/runtime/blocks.h"
#include "platform/macos/native/runtime/classes.h"
#include "platform/macos/native/runtime/weak_references.h"

namespace korvel::objc {

namespace {

struct Living {
    std::string kind;
    End end;
    std::size_t references;
    bool ending;
};

struct Population {
    std::unordered_map<const void*, Living> living;
    std::unordered_map<const void*, std::string> dead; ///< by address, until that is taken again
};

Population& population() {
    static auto& all = *new Population; // outlives every object
    return all;
}

/// What is no class and never freed is known by its first word.
bool neverFreed(const void* object) {
    if (isClass(object) || isProtocol(object)) {
        return true;
    }
    const void* type = *static_cast<void* const*>(object);
    return type == &_NSConcreteGlobalBlock || type == &_NSConcreteStackBlock ||
           type == &__CFConstantStringClassReference;
}

/// Null for what is never freed. `use` completes a sentence whose object it is.
Living* livingOrMisuse(const void* object, const char* use, SEL message = nullptr) {
    Population& all = population();
    if (const auto found = all.living.find(object); found != all.living.end()) {
        return &found->second;
    }
    const std::string sentence =
        (message != nullptr ? std::string(sel_getName(message)) + " " : std::string()) + use;
    if (const auto found = all.dead.find(object); found != all.dead.end()) {
        misuse(sentence + " a freed " + found->second);
    }
    if (!neverFreed(object)) {
        misuse(sentence + " what is no object");
    }
    return nullptr;
}

void endInstance(void* object) {
    SEL dealloc = sel_registerName("dealloc");
    reinterpret_cast<void (*)(void*, SEL)>(methodOf(*static_cast<ClassRecord**>(object), dealloc))(
        object, dealloc);
}

} // namespace

void misuse(const std::string& what) {
    std::fprintf(stderr, "objects misused: %s\n", what.c_str());
    __sanitizer_print_stack_trace();
    std::abort();
}

void remember(void* object, const std::string& kind, End end) {
    population().dead.erase(object);
    population().living[object] = Living{kind, end, 1, false};
}

void forget(void* object) {
    Population& all = population();
    const auto found = all.living.find(object);
    if (found->second.references != 0) {
        misuse("a reference was taken to a " + found->second.kind + " that was being freed");
    }
    all.dead[object] = std::move(found->second.kind);
    all.living.erase(found);
}

void* allocate(ClassRecord* type) {
    void* object = std::calloc(1, instanceSize(type));
    *static_cast<ClassRecord**>(object) = type;
    remember(object, type->data->name, &endInstance);
    constructMembers(object, type);
    return object;
}

void dispose(void* object) {
    destructMembers(object, *static_cast<ClassRecord**>(object));
    forget(object);
    std::free(object);
}

void retain(void* object) {
    if (object == nullptr) {
        return;
    }
    if (Living* living = livingOrMisuse(object, "a reference was taken to")) {
        ++living->references;
    }
}

void release(void* object) {
    if (object == nullptr) {
        return;
    }
    Living* living = livingOrMisuse(object, "a reference was given back to");
    if (living == nullptr) {
        return;
    }
    if (living->references == 0) {
        misuse("a reference was given back to a " + living->kind + " that was being freed");
    }
    if (--living->references == 0 && !living->ending) {
        living->ending = true;
        clearWeakReferences(object);
        living->end(object);
    }
}

bool ending(const void* object) {
    const auto& living = population().living;
    const auto found = living.find(object);
    return found != living.end() && found->second.ending;
}

const ClassRecord* receiverClass(void* receiver, SEL selector) {
    livingOrMisuse(receiver, "was sent to", selector);
    const ClassRecord* type = *static_cast<ClassRecord**>(receiver);
    if (!isClass(type)) {
        misuse(std::string(sel_getName(selector)) + " was sent to a block");
    }
    return type;
}

std::map<std::string, std::size_t> liveObjects() {
    std::map<std::string, std::size_t> counted;
    for (const auto& [object, living] : population().living) {
        ++counted[living.kind];
    }
    return counted;
}

} // namespace korvel::objc
