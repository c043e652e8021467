#include "platform/linux/update/der.h"

#include <cstdint>
#include <stdexcept>

namespace korvel::test {

namespace {

constexpr unsigned kConstructed = 0x20;
constexpr char kOctetString = 4;
constexpr char kSet = 0x31;

struct Element {
    char tag;
    std::string_view content;
};

unsigned byteAt(std::string_view bytes, std::size_t at) {
    return static_cast<unsigned char>(bytes.at(at));
}

/// Takes the first element off the bytes.
Element take(std::string_view& bytes) {
    constexpr unsigned kShort = 0x80;
    std::size_t head = 2;
    std::size_t length = byteAt(bytes, 1);
    if (length >= kShort) {
        const std::size_t digits = length - kShort;
        length = 0;
        for (std::size_t i = 0; i < digits; ++i) {
            length = length << 8U | byteAt(bytes, head++);
        }
    }
    if (head + length > bytes.size()) {
        throw std::runtime_error("no element");
    }
    const Element element{bytes.front(), bytes.substr(head, length)};
    bytes.remove_prefix(head + length);
    return element;
}

std::vector<Element> elementsOf(std::string_view bytes) {
    std::vector<Element> elements;
    while (!bytes.empty()) {
        elements.push_back(take(bytes));
    }
    return elements;
}

/// The bytes of a length in as few as it takes, without what tells how many they are.
std::string digitsOf(std::size_t length) {
    std::string digits;
    for (; length > 0; length >>= 8U) {
        digits.insert(digits.begin(), static_cast<char>(length & 0xffU));
    }
    return digits;
}

std::string withCount(const std::string& digits) {
    return static_cast<char>(0x80U | digits.size()) + digits;
}

/// Empty where there is no such form of it.
std::string written(const Element& element, BerForm form) {
    const bool isConstructed = (static_cast<unsigned char>(element.tag) & kConstructed) != 0;
    const std::string tag(1, element.tag);
    const std::string content(element.content);
    switch (form) {
    case BerForm::indefinite:
        return isConstructed ? tag + "\x80" + content + std::string(2, '\0') : "";
    case BerForm::longLength: {
        const bool isShort = content.size() < 0x80;
        const std::string digits = digitsOf(content.size());
        return tag +
               withCount(isShort ? std::string(1, static_cast<char>(content.size()))
                                 : std::string(1, '\0') + digits) +
               content;
    }
    case BerForm::otherOrder: {
        if (element.tag != kSet && element.tag != '\xa0') { // sets have this tag in CMS too
            return "";
        }
        std::string_view rest = element.content;
        if (rest.empty()) {
            return "";
        }
        const Element first = take(rest);
        if (rest.empty()) {
            return "";
        }
        const Element second = take(rest);
        return derElement(element.tag, derElement(second.tag, second.content) +
                                           derElement(first.tag, first.content) +
                                           std::string(rest));
    }
    case BerForm::inPieces:
        return element.tag == kOctetString
                   ? derElement(static_cast<char>(kOctetString | kConstructed),
                                derElement(kOctetString, content))
                   : "";
    }
    return "";
}

} // namespace

std::string derElement(char tag, std::string_view content) {
    const std::string digits = digitsOf(content.size());
    return tag +
           (content.size() < 0x80 ? std::string(1, static_cast<char>(content.size()))
                                  : withCount(digits)) +
           std::string(content);
}

std::vector<std::string> berVariants(std::string_view der, BerForm form) {
    std::vector<std::string> variants;
    const std::vector<Element> elements = elementsOf(der);
    const auto add = [&](std::size_t changed, const std::string& instead) {
        std::string all;
        for (std::size_t i = 0; i < elements.size(); ++i) {
            all += i == changed ? instead : derElement(elements[i].tag, elements[i].content);
        }
        variants.push_back(all);
    };
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (const std::string other = written(elements[i], form); !other.empty()) {
            add(i, other);
        }
        if ((static_cast<unsigned char>(elements[i].tag) & kConstructed) != 0) {
            for (const std::string& content : berVariants(elements[i].content, form)) {
                add(i, derElement(elements[i].tag, content));
            }
        }
    }
    return variants;
}

} // namespace korvel::test
