#include "platform/linux/info_plist.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include <plist/plist.h>

namespace korvel::platform {

namespace {

constexpr std::size_t kLargest = std::size_t{1} << 20;
// The library goes down into collections by recursion, and would run out of stack.
constexpr std::size_t kMostCollections = 500;
constexpr std::string_view kBinarySignature("bplist00");

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

/// The table of objects of a binary property list, as far as it takes to know that it is a tree:
/// the library makes a copy of a collection for each time that it is referred to, so that a few
/// hundred bytes that refer to each other twice would fill the memory.
class BinaryObjects {
  public:
    explicit BinaryObjects(std::string_view bytes) : bytes_(bytes) {}

    bool areASmallTree() {
        constexpr std::size_t kTrailer = 32;
        if (bytes_.size() < kBinarySignature.size() + kTrailer) {
            return false;
        }
        const std::size_t trailer = bytes_.size() - kTrailer;
        constexpr std::size_t kWide = 8;
        const std::size_t offsetSize = number(trailer + 6, 1);
        refSize_ = number(trailer + 7, 1);
        const std::size_t count = number(trailer + 8, kWide);
        const std::size_t top = number(trailer + 16, kWide);
        const std::size_t table = number(trailer + 24, kWide);
        if (!isWidth(offsetSize) || !isWidth(refSize_) || table > trailer ||
            count > (trailer - table) / offsetSize || top >= count) {
            return false;
        }
        offsets_.resize(count);
        for (std::size_t i = 0; i < count; ++i) {
            offsets_[i] = number(table + i * offsetSize, offsetSize);
            if (offsets_[i] >= table) {
                return false;
            }
        }
        end_ = table;
        referred_.assign(count, false);
        referred_[top] = true;
        std::size_t collections = 0;
        for (const std::size_t offset : offsets_) {
            if (isCollection(offset) &&
                (++collections > kMostCollections || !refersToEachOnce(offset))) {
                return false;
            }
        }
        return true;
    }

  private:
    static bool isWidth(std::size_t size) {
        return size == 1 || size == 2 || size == 4 || size == 8;
    }

    /// Big-endian; within the bytes.
    std::size_t number(std::size_t at, std::size_t width) const {
        std::size_t value = 0;
        for (const char c : bytes_.substr(at, width)) {
            value = value << 8U | static_cast<unsigned char>(c);
        }
        return value;
    }

    std::size_t typeAt(std::size_t offset) const { return number(offset, 1) >> 4U; }

    /// Arrays are 0xA, sets 0xC, dictionaries 0xD; the library takes 0xB, an ordered set, for none.
    bool isCollection(std::size_t offset) const { return typeAt(offset) >= 0xa; }

    /// Whether no collection that this one refers to was referred to before.
    bool refersToEachOnce(std::size_t offset) {
        std::size_t count = number(offset, 1) & 0xfU;
        std::size_t at = offset + 1;
        constexpr std::size_t kCountFollows = 0xf;
        if (count == kCountFollows) {
            if (at >= end_ || typeAt(at) != 1) {
                return false;
            }
            const std::size_t width = std::size_t{1} << (number(at, 1) & 0xfU);
            if (!isWidth(width) || width > end_ - at - 1) {
                return false;
            }
            count = number(at + 1, width);
            at += 1 + width;
        }
        const bool pairs = typeAt(offset) == 0xd;
        const std::size_t room = (end_ - at) / refSize_;
        if (count > (pairs ? room / 2 : room)) {
            return false;
        }
        for (std::size_t i = 0; i < (pairs ? 2 * count : count); ++i) {
            const std::size_t object = number(at + i * refSize_, refSize_);
            if (object >= offsets_.size()) {
                return false;
            }
            if (isCollection(offsets_[object])) {
                if (referred_[object]) {
                    return false;
                }
                referred_[object] = true;
            }
        }
        return true;
    }

    std::string_view bytes_;
    std::size_t refSize_ = 0;
    std::size_t end_ = 0; ///< of the objects
    std::vector<std::size_t> offsets_;
    std::vector<bool> referred_;
};

Plist parsed(std::string_view bytes) {
    plist_t node = nullptr;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    if (bytes.substr(0, kBinarySignature.size()) == kBinarySignature) {
        if (BinaryObjects(bytes).areASmallTree()) {
            ::plist_from_bin(bytes.data(), size, &node);
        }
    } else if (countOf(bytes, "<array") + countOf(bytes, "<dict") <= kMostCollections) {
        ::plist_from_xml(bytes.data(), size, &node);
    }
    return Plist(node);
}

std::unique_ptr<char, FreeMemory> stringOf(plist_t node) {
    char* text = nullptr;
    if (::plist_get_node_type(node) == PLIST_STRING) {
        ::plist_get_string_val(node, &text);
    }
    return std::unique_ptr<char, FreeMemory>(text);
}

} // namespace

std::optional<std::map<std::string, std::string>> infoPlistStrings(std::string_view bytes) {
    if (bytes.empty() || bytes.size() > kLargest) {
        return std::nullopt;
    }
    const Plist top = parsed(bytes);
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
        if (const auto text = stringOf(value); key && text) {
            strings.emplace(key.get(), text.get());
        }
    }
}

} // namespace korvel::platform
