#include "platform/linux/update/info_plist.h"

#include <cstdint>
#include <cstdlib>
#include <memory>

#include <plist/plist.h>

namespace korvel::platform {

namespace {

constexpr std::size_t kLargest = std::size_t{1} << 20;
// The library goes down into collections by recursion, and would run out of stack.
constexpr std::size_t kMostCollections = 500;

struct FreePlist {
    void operator()(plist_t node) const { ::plist_free(node); }
};
using Plist = std::unique_ptr<void, FreePlist>;

struct FreeMemory {
    void operator()(void* memory) const { std::free(memory); }
};

std::size_t countOf(std::string_view text, std::string_view word) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string_view::npos;
         at = text.find(word, at + word.size())) {
        ++count;
    }
    return count;
}

/// Null: it is no property list in XML, or would take the library too far down. A binary one, in
/// which there always are zero bytes, may refer to one object again and again, and the library
/// would copy it each time.
Plist parsed(std::string_view xml) {
    plist_t node = nullptr;
    if (xml.find('\0') == std::string_view::npos &&
        countOf(xml, "<array") + countOf(xml, "<dict") <= kMostCollections) {
        ::plist_from_xml(xml.data(), static_cast<std::uint32_t>(xml.size()), &node);
    }
    return Plist(node);
}

} // namespace

std::optional<std::map<std::string, std::string>> infoPlistStrings(std::string_view xml) {
    if (xml.empty() || xml.size() > kLargest) {
        return std::nullopt;
    }
    const Plist top = parsed(xml);
    if (!top || ::plist_get_node_type(top.get()) != PLIST_DICT) {
        return std::nullopt;
    }
    std::map<std::string, std::string> strings;
    plist_dict_iter position = nullptr;
    ::plist_dict_new_iter(top.get(), &position);
    const std::unique_ptr<void, FreeMemory> iterator(position);
    for (;;) {
        char* name = nullptr;
        plist_t value = nullptr;
        ::plist_dict_next_item(top.get(), iterator.get(), &name, &value);
        const std::unique_ptr<char, FreeMemory> key(name);
        if (value == nullptr) {
            return strings;
        }
        if (key && ::plist_get_node_type(value) == PLIST_STRING) {
            std::uint64_t length = 0;
            const char* const text = ::plist_get_string_ptr(value, &length);
            strings.emplace(key.get(), std::string(text, static_cast<std::size_t>(length)));
        }
    }
}

} // namespace korvel::platform
