// The few declarations of IOKit's power management that the backend uses, for builds without the
// macOS SDK.
//
// Checked once, by reading, against IOPMLib.h as Apple publishes it with the sources of IOKit: the two
// functions and their parameters, the type of a level, its two values, the null identifier and the
// texts of the two assertion types. IOReturn and kIOReturnSuccess, which are IOReturn.h's, and the
// type of an identifier are written from knowledge of them. Which library exports what is in
// IOKit.tbd, and nothing open tells it.
#pragma once
#pragma clang system_header

#include <stdint.h>

#include <CoreFoundation/CoreFoundation.h>
#include <mach/kern_return.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef kern_return_t IOReturn;
#define kIOReturnSuccess KERN_SUCCESS

typedef uint32_t IOPMAssertionID;
typedef uint32_t IOPMAssertionLevel;

enum { kIOPMNullAssertionID = 0 };
enum { kIOPMAssertionLevelOff = 0, kIOPMAssertionLevelOn = 255 };

#define kIOPMAssertionTypeNoDisplaySleep CFSTR("NoDisplaySleepAssertion")
#define kIOPMAssertionTypeNoIdleSleep CFSTR("NoIdleSleepAssertion")

IOReturn IOPMAssertionCreateWithName(CFStringRef AssertionType, IOPMAssertionLevel AssertionLevel,
                                     CFStringRef AssertionName, IOPMAssertionID* AssertionID);
IOReturn IOPMAssertionRelease(IOPMAssertionID AssertionID);

#ifdef __cplusplus
}
#endif
