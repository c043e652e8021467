#include "platform/macos/macos_power_assertions.h"

#include <type_traits>

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/pwr_mgt/IOPMLib.h>

namespace korvel::platform {

static_assert(std::is_same_v<IOPMAssertionID, PowerAssertionId>);
static_assert(kIOPMAssertionLevelOn == 255 && kIOReturnSuccess == 0);

namespace {

/// Owns a string; none when the bytes are not UTF-8.
class CoreString {
  public:
    explicit CoreString(const std::string& text)
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): bytes are bytes
        : string_(::CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(text.data()),
                                            static_cast<CFIndex>(text.size()),
                                            kCFStringEncodingUTF8, 0)) {}
    CoreString(const CoreString&) = delete;
    CoreString& operator=(const CoreString&) = delete;
    ~CoreString() {
        if (string_ != nullptr) {
            ::CFRelease(string_);
        }
    }

    CFStringRef get() const { return string_; }

  private:
    CFStringRef string_;
};

CFStringRef typeName(PowerAssertionType type) {
    return type == PowerAssertionType::noDisplaySleep ? kIOPMAssertionTypeNoDisplaySleep
                                                      : kIOPMAssertionTypeNoIdleSleep;
}

} // namespace

std::optional<PowerAssertionId> MacosPowerAssertions::create(PowerAssertionType type,
                                                             const std::string& name) {
    const CoreString reason(name);
    IOPMAssertionID id = kIOPMNullAssertionID;
    if (reason.get() == nullptr ||
        ::IOPMAssertionCreateWithName(typeName(type), kIOPMAssertionLevelOn, reason.get(), &id) !=
            kIOReturnSuccess ||
        id == kIOPMNullAssertionID) {
        return std::nullopt;
    }
    return id;
}

bool MacosPowerAssertions::holds(PowerAssertionId id) const {
    return id != kIOPMNullAssertionID; // until it is released
}

void MacosPowerAssertions::release(PowerAssertionId id) {
    ::IOPMAssertionRelease(id);
}

} // namespace korvel::platform
