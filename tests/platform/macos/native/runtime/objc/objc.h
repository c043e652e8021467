// The basic types of Objective-C, as the public documentation gives them for macOS on Apple
// silicon.
#pragma once

#include <stddef.h>

typedef struct objc_class* Class;
typedef struct objc_selector* SEL;
#ifdef __OBJC__
@class Protocol;
#else // where the language has no words for them
typedef struct objc_object* id;
typedef struct objc_object Protocol;
#endif
typedef bool BOOL;
#define YES __objc_yes
#define NO __objc_no
#ifndef nil
#define nil nullptr
#endif

typedef long NSInteger;
typedef unsigned long NSUInteger;

extern "C" {

/// The one selector of that name.
SEL sel_registerName(const char* name);
const char* sel_getName(SEL selector);

} // extern "C"
