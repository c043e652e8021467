#include "platform/digest.h"

#include "platform/macos/cases.h"

// The digest itself is the system's; what can be seen here is what it is given and what becomes of
// its answer.
namespace korvel::standin {
namespace {

using platform::RunningSha256;
using platform::Sha256;

Sha256 digestOf(std::string_view bytes) {
    RunningSha256 running;
    running.add(bytes);
    return running.digest();
}

void digestIsHandedOutAsItCame() {
    for (std::size_t i = 0; i < script->digest.size(); ++i) {
        script->digest[i] = static_cast<std::uint8_t>(0xA0 + i);
    }
    EXPECT_EQUAL(digestOf("abc"), script->digest);
    EXPECT_EQUAL(script->calls, {"CC_SHA256_Init", "CC_SHA256_Final"});
}

void digestIsOfAllTheBytes() {
    const std::string bytes("a\0b\xff", 4);
    digestOf(bytes);
    EXPECT_EQUAL(script->digested, bytes);
}

void digestOfNothingIsOfNoBytes() {
    digestOf({});
    EXPECT_EQUAL(script->digestedBytes, 0U);
    EXPECT_EQUAL(script->calls, {"CC_SHA256_Init", "CC_SHA256_Final"});
}

void digestOfMoreThan32BitsOfBytesIsOfAllOfThem() {
    script->keepsDigested = false; // and so none of them is read
    constexpr std::uint64_t kBytes = (std::uint64_t{5} << 30) + 3;
    digestOf(std::string_view("", kBytes));
    EXPECT_EQUAL(script->digestedBytes, kBytes);
}

#define CASE(name)                                                                                 \
    Case {                                                                                         \
#name, name                                                                                \
    }

constexpr Case kCases[] = {
    CASE(digestIsHandedOutAsItCame),
    CASE(digestIsOfAllTheBytes),
    CASE(digestOfNothingIsOfNoBytes),
    CASE(digestOfMoreThan32BitsOfBytesIsOfAllOfThem),
};

} // namespace

Cases digestCases() {
    return {kCases, std::size(kCases)};
}

} // namespace korvel::standin
