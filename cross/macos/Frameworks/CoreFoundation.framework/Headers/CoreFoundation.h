// The few declarations of CoreFoundation that the backend uses, for builds without the macOS SDK.
//
// Checked once, by reading, against the lines of Apple's CFBase.h and CFString.h that are quoted in
// public sources: the types, the parameters of CFStringCreateWithBytes and the value of the encoding.
// CFRelease and the shape of CFSTR are written from knowledge of them. Which library exports what is
// in CoreFoundation.tbd, and nothing open tells it.
#pragma once
#pragma clang system_header

#include <MacTypes.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef signed long CFIndex;
typedef const void* CFTypeRef;
typedef const struct __CFAllocator* CFAllocatorRef;
typedef const struct __CFString* CFStringRef;
typedef UInt32 CFStringEncoding;

enum { kCFStringEncodingUTF8 = 0x08000100 };

// The compiler lays out a constant object, whose class is __CFConstantStringClassReference.
#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString("" text ""))

CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation);
void CFRelease(CFTypeRef object);

#ifdef __cplusplus
}
#endif
