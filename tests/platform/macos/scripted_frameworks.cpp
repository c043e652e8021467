#include "platform/macos/scripted_calls.h"

#include <algorithm>
#include <cstring>

#include <CommonCrypto/CommonDigest.h>
#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/pwr_mgt/IOPMLib.h>

namespace korvel::standin {
namespace {

/// As the compiler lays out the constant ones.
struct String {
    const void* isa;
    std::uint32_t flags;
    const char* characters;
    long length;
};

std::string text(CFStringRef string) {
    if (string == nullptr) {
        return "(null)";
    }
    const auto* const laidOut = reinterpret_cast<const String*>(string);
    return {laidOut->characters, static_cast<std::size_t>(laidOut->length)};
}

const void* const kOwnClass = &kOwnClass;

} // namespace
} // namespace korvel::standin

using namespace korvel::standin;

extern "C" {

int __CFConstantStringClassReference[32];

CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
    if (script->stringsFail || alloc != nullptr || encoding != kCFStringEncodingUTF8 ||
        isExternalRepresentation) {
        return nullptr;
    }
    char* const characters = new char[static_cast<std::size_t>(numBytes)];
    std::memcpy(characters, bytes, static_cast<std::size_t>(numBytes));
    ++script->strings;
    return reinterpret_cast<CFStringRef>(new String{kOwnClass, 0, characters, numBytes});
}

void CFRelease(CFTypeRef object) {
    const auto* const string = static_cast<const String*>(object);
    if (string == nullptr || string->isa != kOwnClass) {
        script->calls.emplace_back("CFRelease of what is not owned");
        return;
    }
    --script->strings;
    delete[] string->characters;
    delete string;
}

IOReturn IOPMAssertionCreateWithName(CFStringRef type, IOPMAssertionLevel level, CFStringRef name,
                                     IOPMAssertionID* id) {
    const std::string typeText = text(type);
    script->calls.push_back("IOPMAssertionCreateWithName " + typeText);
    script->assertions.push_back({typeText, level, text(name)});
    const auto& refused = script->refusedTypes;
    if (std::find(refused.begin(), refused.end(), typeText) != refused.end()) {
        *id = 99; // of no meaning, and so not to be handed on
        return 0x2C7;
    }
    *id = script->nextAssertion;
    return kIOReturnSuccess;
}

IOReturn IOPMAssertionRelease(IOPMAssertionID id) {
    script->calls.push_back("IOPMAssertionRelease " + std::to_string(id));
    return script->releaseResult;
}

int CC_SHA256_Init(CC_SHA256_CTX*) {
    script->calls.emplace_back("CC_SHA256_Init");
    return 1;
}

int CC_SHA256_Update(CC_SHA256_CTX*, const void* data, CC_LONG length) {
    if (script->keepsDigested) {
        script->digested.append(static_cast<const char*>(data), length);
    }
    script->digestedBytes += length;
    return 1;
}

int CC_SHA256_Final(unsigned char* digest, CC_SHA256_CTX*) {
    script->calls.emplace_back("CC_SHA256_Final");
    std::copy(script->digest.begin(), script->digest.end(), digest);
    return 1;
}

} // extern "C"
