#include "platform/macos/native/runtime/weak_references.h"

#include <map>
#include <unordered_map>

#include "platform/macos/native/runtime/entry_points.h"
#include "platform/macos/native/runtime/objects.h"

namespace korvel::objc {

namespace {

struct Variables {
    std::unordered_map<void**, void*> objects; ///< what each variable names
    std::multimap<void*, void**> byObject;
};

Variables& variables() {
    static auto& all = *new Variables;
    return all;
}

void forgetVariable(void** variable) {
    Variables& all = variables();
    const auto found = all.objects.find(variable);
    if (found == all.objects.end()) {
        return;
    }
    const auto [first, last] = all.byObject.equal_range(found->second);
    for (auto each = first; each != last; ++each) {
        if (each->second == variable) {
            all.byObject.erase(each);
            break;
        }
    }
    all.objects.erase(found);
}

} // namespace

void clearWeakReferences(void* object) {
    Variables& all = variables();
    const auto [first, last] = all.byObject.equal_range(object);
    for (auto each = first; each != last; ++each) {
        *each->second = nullptr;
        all.objects.erase(each->second);
    }
    all.byObject.erase(first, last);
}

} // namespace korvel::objc

using korvel::objc::forgetVariable;
using korvel::objc::variables;

extern "C" {

void* objc_storeWeak(void** variable, void* object) {
    forgetVariable(variable);
    *variable = nullptr;
    if (object != nullptr && !korvel::objc::ending(object)) {
        *variable = object;
        variables().objects[variable] = object;
        variables().byObject.emplace(object, variable);
    }
    return *variable;
}

void* objc_initWeak(void** variable, void* object) {
    return objc_storeWeak(variable, object);
}

void objc_destroyWeak(void** variable) {
    forgetVariable(variable);
}

void* objc_loadWeakRetained(void** variable) {
    return objc_retain(*variable);
}

void objc_copyWeak(void** to, void** from) {
    void* object = objc_loadWeakRetained(from);
    objc_initWeak(to, object);
    objc_release(object);
}

void objc_moveWeak(void** to, void** from) {
    objc_copyWeak(to, from);
    objc_destroyWeak(from);
}

} // extern "C"
