#include "platform/linux/update/info_plist.h"

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

/// The table of objects of a binary property list, as far as it takes to know that it is a tree of
/// bounded size: the library makes a copy of an object for each time that it is referred to, so
/// that a few hundred bytes which refer to each other could fill the memory.
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
        end_ = table;
        heads_.reserve(count);
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t offset = number(table + i * offsetSize, offsetSize);
            const auto head = offset < end_ ? headAt(offset) : std::nullopt;
            if (!head) {
                return false;
            }
            heads_.push_back(*head);
        }
        referred_.assign(count, false);
        referred_[top] = true;
        std::size_t collections = 0;
        for (const Head& head : heads_) {
            if (isCollection(head) && (++collections > kMostCollections || !refersToLittle(head))) {
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

    /// What an object begins with.
    struct Head {
        std::size_t type;
        std::size_t count;   ///< of bytes, characters or elements, as the type has it
        std::size_t content; ///< where it begins
    };

    /// nullopt: it goes on beyond the objects, or is a text with a null character, at which the
    /// library ends the program.
    std::optional<Head> headAt(std::size_t offset) const {
        Head head{number(offset, 1) >> 4U, number(offset, 1) & 0xfU, offset + 1};
        constexpr std::size_t kCountFollows = 0xf;
        constexpr std::size_t kFirstWithCount = 4;
        if (head.type >= kFirstWithCount && head.count == kCountFollows) {
            if (head.content >= end_) {
                return std::nullopt;
            }
            const std::size_t integer = number(head.content, 1);
            const std::size_t width = std::size_t{1} << (integer & 0xfU);
            if (integer >> 4U != 1 || !isWidth(width) || width > end_ - head.content - 1) {
                return std::nullopt;
            }
            head.count = number(head.content + 1, width);
            head.content += 1 + width;
        }
        return hasNullCharacter(head) ? std::nullopt : std::optional(head);
    }

    /// Also of a text that goes on beyond the objects.
    bool hasNullCharacter(const Head& head) const {
        constexpr std::size_t kBytes = 5;
        constexpr std::size_t kPairs = 6;
        if (head.type != kBytes && head.type != kPairs) {
            return false;
        }
        const std::size_t width = head.type == kPairs ? 2 : 1;
        if (head.count > (end_ - head.content) / width) {
            return true;
        }
        for (std::size_t i = 0; i < head.count; ++i) {
            if (number(head.content + i * width, width) == 0) {
                return true;
            }
        }
        return false;
    }

    /// Arrays are 0xA, ordered sets 0xB, sets 0xC, dictionaries 0xD.
    static bool isCollection(const Head& head) { return head.type >= 0xa; }

    /// Whether no collection that this one refers to was referred to before, and what it refers to
    /// is not too much to be copied.
    bool refersToLittle(const Head& head) {
        constexpr std::size_t kDictionary = 0xd;
        const std::size_t room = (end_ - head.content) / refSize_;
        if (head.count > room) {
            return false;
        }
        const std::size_t references = head.type == kDictionary ? 2 * head.count : head.count;
        if (references > room) {
            return false;
        }
        for (std::size_t i = 0; i < references; ++i) {
            const std::size_t object = number(head.content + i * refSize_, refSize_);
            if (object >= heads_.size()) {
                return false;
            }
            if (isCollection(heads_[object])) {
                if (referred_[object]) {
                    return false;
                }
                referred_[object] = true;
            } else if (heads_[object].count > kLargest - copied_) {
                return false;
            } else {
                copied_ += heads_[object].count;
            }
        }
        return true;
    }

    std::string_view bytes_;
    std::size_t refSize_ = 0;
    std::size_t end_ = 0; ///< of the objects
    std::vector<Head> heads_;
    std::vector<bool> referred_;
    std::size_t copied_ = 0; ///< bytes or characters, in all objects that are no collections
};

Plist parsed(std::string_view bytes) {
    plist_t node = nullptr;
    const auto size = static_cast<std::uint32_t>(bytes.size());
    if (bytes.substr(0, kBinarySignature.size()) == kBinarySignature) {
        if (BinaryObjects(bytes).areASmallTree()) {
            ::plist_from_bin(bytes.data(), size, &node);
        }
    } else if (bytes.find('\0') == std::string_view::npos &&
               countOf(bytes, "<array") + countOf(bytes, "<dict") <= kMostCollections) {
        ::plist_from_xml(bytes.data(), size, &node);
    }
    return Plist(node);
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
        if (key && ::plist_get_node_type(value) == PLIST_STRING) {
            std::uint64_t length = 0;
            const char* const text = ::plist_get_string_ptr(value, &length);
            strings.emplace(key.get(), std::string(text, static_cast<std::size_t>(length)));
        }
    }
}

} // namespace korvel::platform
