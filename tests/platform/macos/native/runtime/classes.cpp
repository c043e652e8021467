#include "platform/macos/native/runtime/classes.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

using korvel::objc::CategoryRecord;
using korvel::objc::ClassRecord;

// The bounds of the sections, which the linker makes.
#define KORVEL_SECTION(type, name)                                                                 \
    extern "C" __attribute__((weak, visibility("hidden"))) type __start_##name[];                  \
    extern "C" __attribute__((weak, visibility("hidden"))) type __stop_##name[];
KORVEL_SECTION(ClassRecord*, objc_classlist)
KORVEL_SECTION(CategoryRecord*, objc_catlist)
KORVEL_SECTION(const void*, objc_protolist)
KORVEL_SECTION(SEL, objc_selrefs)
#undef KORVEL_SECTION

namespace korvel::objc {

namespace {

struct Loaded {
    std::size_t size = 0;
    std::unordered_map<SEL, Implementation> methods;
    std::vector<const ProtocolList*> protocols;
};

class Classes {
  public:
    Classes() {
        for (SEL* reference = __start_objc_selrefs; reference < __stop_objc_selrefs; ++reference) {
            *reference = sel_registerName(reinterpret_cast<const char*>(*reference));
        }
        for (ClassRecord** type = __start_objc_classlist; type < __stop_objc_classlist; ++type) {
            load(*type);
            load((*type)->isa);
            byName_.emplace((*type)->data->name, *type);
        }
        for (CategoryRecord** category = __start_objc_catlist; category < __stop_objc_catlist;
             ++category) {
            Loaded& extended = loaded_[(*category)->type];
            addMethods(extended, (*category)->instanceMethods);
            addMethods(loaded_[(*category)->type->isa], (*category)->classMethods);
            extended.protocols.push_back((*category)->protocols);
        }
    }

    const Loaded& of(const ClassRecord* type) const { return loaded_.at(type); }
    bool contains(const void* address) const {
        return loaded_.count(static_cast<const ClassRecord*>(address)) != 0;
    }
    ClassRecord* named(const char* name) const {
        const auto found = byName_.find(name);
        return found != byName_.end() ? found->second : nullptr;
    }

  private:
    std::size_t load(const ClassRecord* type) {
        if (const auto found = loaded_.find(type); found != loaded_.end()) {
            return found->second.size;
        }
        const ClassData& data = *type->data;
        constexpr uint32_t kMetaclass = 1;
        std::size_t start = data.instanceStart;
        if (type->superclass != nullptr && (data.flags & kMetaclass) == 0) {
            start = load(type->superclass);
        }
        // The compiler knew less of the classes above, or more.
        constexpr std::size_t kMask = alignof(std::max_align_t) - 1;
        std::size_t shift = start > data.instanceStart ? start - data.instanceStart : 0;
        shift = (shift + kMask) & ~kMask;
        if (shift != 0 && data.variables != nullptr) {
            for (uint32_t i = 0; i < data.variables->count; ++i) {
                *data.variables->first[i].offset += static_cast<long>(shift);
            }
        }
        Loaded& made = loaded_[type];
        made.size = data.instanceSize + shift;
        made.protocols.push_back(data.protocols);
        addMethods(made, data.methods);
        return made.size;
    }

    static void addMethods(Loaded& type, const MethodList* list) {
        for (uint32_t i = 0; list != nullptr && i < list->count; ++i) {
            const MethodRecord& method = list->first[i];
            type.methods[sel_registerName(method.name)] = method.implementation;
        }
    }

    std::unordered_map<const ClassRecord*, Loaded> loaded_;
    std::unordered_map<std::string, ClassRecord*> byName_;
};

const Classes& classes() {
    static const Classes& all = *new Classes; // outlives every object
    return all;
}

/// Before any other code takes a selector.
__attribute__((constructor(101))) void load() {
    classes();
}

bool includes(const ProtocolList* list, const char* protocol) {
    for (uintptr_t i = 0; list != nullptr && i < list->count; ++i) {
        const ProtocolRecord* each = list->first[i];
        if (std::strcmp(each->name, protocol) == 0 || includes(each->inherited, protocol)) {
            return true;
        }
    }
    return false;
}

void runOwn(const ClassRecord* type, const char* name, void* object) {
    const auto& methods = classes().of(type).methods;
    SEL selector = sel_registerName(name);
    if (const auto found = methods.find(selector); found != methods.end()) {
        reinterpret_cast<void (*)(void*, SEL)>(found->second)(object, selector);
    }
}

} // namespace

std::size_t instanceSize(const ClassRecord* type) {
    return classes().of(type).size;
}

Implementation methodOf(const ClassRecord* type, SEL selector) {
    for (; type != nullptr; type = type->superclass) {
        const auto& methods = classes().of(type).methods;
        if (const auto found = methods.find(selector); found != methods.end()) {
            return found->second;
        }
    }
    return nullptr;
}

bool isOrInherits(const ClassRecord* type, const ClassRecord* ancestor) {
    while (type != nullptr && type != ancestor) {
        type = type->superclass;
    }
    return type != nullptr;
}

bool conforms(const ClassRecord* type, const char* protocol) {
    for (; type != nullptr; type = type->superclass) {
        for (const ProtocolList* list : classes().of(type).protocols) {
            if (includes(list, protocol)) {
                return true;
            }
        }
    }
    return false;
}

bool isClass(const void* address) {
    return classes().contains(address);
}

bool isProtocol(const void* address) {
    return std::find(__start_objc_protolist, __stop_objc_protolist, address) !=
           __stop_objc_protolist;
}

void constructMembers(void* object, const ClassRecord* type) {
    if (type->superclass != nullptr) {
        constructMembers(object, type->superclass);
    }
    runOwn(type, ".cxx_construct", object);
}

void destructMembers(void* object, const ClassRecord* type) {
    for (; type != nullptr; type = type->superclass) {
        runOwn(type, ".cxx_destruct", object);
    }
}

} // namespace korvel::objc

extern "C" {

void* _objc_empty_cache[4]; // NOLINT: named by the compiler in every class

SEL sel_registerName(const char* name) {
    static auto& names = *new std::unordered_set<std::string>; // whose elements stay where they are
    return reinterpret_cast<SEL>(const_cast<char*>(names.emplace(name).first->c_str()));
}

const char* sel_getName(SEL selector) {
    return reinterpret_cast<const char*>(selector);
}

Class object_getClass(id object) {
    return object != nullptr ? *reinterpret_cast<Class*>(object) : nullptr;
}

Class objc_lookUpClass(const char* name) {
    return reinterpret_cast<Class>(korvel::objc::classes().named(name));
}

const char* protocol_getName(Protocol* protocol) {
    return reinterpret_cast<const korvel::objc::ProtocolRecord*>(protocol)->name;
}

} // extern "C"
