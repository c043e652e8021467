#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Encodings of ASN.1, of which DER is one for each value.
namespace korvel::test {

/// An element in DER. `tag` is its first byte.
std::string derElement(char tag, std::string_view content);

enum class BerForm {
    indefinite, ///< of a length that is not told
    longLength, ///< the length written with one byte more than it takes
    otherOrder, ///< the first two elements of a set in the other order
    inPieces,   ///< a string made of pieces that are strings, here of one
};

/// All encodings of the elements in `der` in which one of them is written in that form.
std::vector<std::string> berVariants(std::string_view der, BerForm form);

} // namespace korvel::test
