#pragma once

#include <cstdint>

/// How the compiler lays out classes, their methods and categories for the runtime of macOS 10.7
/// and later with 64 bits, on an ELF system: the same records, in sections that the linker gives a
/// start and an end.
namespace korvel::objc {

using Implementation = void (*)(); ///< of a method, whatever it takes and returns

struct MethodRecord {
    const char* name;
    const char* types;
    Implementation implementation;
};

struct MethodList {
    uint32_t entrySize;
    uint32_t count;
    MethodRecord first[1];
};

struct InstanceVariable {
    long* offset; ///< from the start of the object; read by every access to it
    const char* name;
    const char* type;
    uint32_t alignment; ///< as a power of two
    uint32_t size;
};

struct InstanceVariableList {
    uint32_t entrySize;
    uint32_t count;
    InstanceVariable first[1];
};

struct ProtocolList;

struct ProtocolRecord {
    void* isa;
    const char* name;
    const ProtocolList* inherited;
};

struct ProtocolList {
    uintptr_t count;
    const ProtocolRecord* first[1];
};

struct ClassData {
    uint32_t flags; ///< 1: of a metaclass
    uint32_t instanceStart;
    uint32_t instanceSize; ///< as the compiler saw the classes above it
    uint32_t reserved;
    const void* strongLayout;
    const char* name;
    const MethodList* methods;
    const ProtocolList* protocols;
    const InstanceVariableList* variables;
    const void* weakLayout;
    const void* properties;
};

struct ClassRecord {
    ClassRecord* isa; ///< the metaclass, whose methods are the class methods
    ClassRecord* superclass;
    void* cache;
    void* methodTable;
    const ClassData* data;
};

struct CategoryRecord {
    const char* name;
    ClassRecord* type;
    const MethodList* instanceMethods;
    const MethodList* classMethods;
    const ProtocolList* protocols;
};

/// What a message to `super` is sent with.
struct SuperReceiver {
    void* receiver;
    ClassRecord* type; ///< whose method sends it
};

} // namespace korvel::objc
