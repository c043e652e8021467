// How a message finds its method: with the arguments of the call still where the caller put them,
// and without a frame of its own on the stack when the method runs.
#include <objc/runtime.h>

#include <string>

#include "platform/macos/native/runtime/classes.h"
#include "platform/macos/native/runtime/objects.h"

#ifndef __x86_64__
#error "sending a message is written for x86-64"
#endif

namespace {

using korvel::objc::ClassRecord;
using korvel::objc::Implementation;

Implementation methodOrMisuse(const ClassRecord* type, SEL selector) {
    const Implementation found = korvel::objc::methodOf(type, selector);
    if (found == nullptr) {
        constexpr unsigned kMetaclass = 1;
        korvel::objc::misuse(std::string((type->data->flags & kMetaclass) != 0 ? "+[" : "-[") +
                             type->data->name + " " + sel_getName(selector) +
                             "] is no method of it");
    }
    return found;
}

} // namespace

extern "C" {

Implementation korvelMethodOfReceiver(void* receiver, SEL selector) {
    return methodOrMisuse(korvel::objc::receiverClass(receiver, selector), selector);
}

Implementation korvelMethodOfSuper(const korvel::objc::SuperReceiver* to, SEL selector) {
    korvel::objc::receiverClass(to->receiver, selector);
    return methodOrMisuse(to->type->superclass, selector);
}

} // extern "C"

// Everything that may hold an argument is saved around the search. %rbx: the receiver, %rax: how
// many vector registers a call with variable arguments uses.
#define KORVEL_SAVE                                                                                \
    "push %rbp\n .cfi_def_cfa_offset 16\n .cfi_offset %rbp, -16\n"                                 \
    "mov %rsp, %rbp\n .cfi_def_cfa_register %rbp\n"                                                \
    "push %rdi\n push %rsi\n push %rdx\n push %rcx\n push %r8\n push %r9\n push %rax\n"            \
    "sub $136, %rsp\n"                                                                             \
    "movups %xmm0, (%rsp)\n movups %xmm1, 16(%rsp)\n"                                              \
    "movups %xmm2, 32(%rsp)\n movups %xmm3, 48(%rsp)\n"                                            \
    "movups %xmm4, 64(%rsp)\n movups %xmm5, 80(%rsp)\n"                                            \
    "movups %xmm6, 96(%rsp)\n movups %xmm7, 112(%rsp)\n"
#define KORVEL_RESTORE                                                                             \
    "mov %rax, %r11\n"                                                                             \
    "movups (%rsp), %xmm0\n movups 16(%rsp), %xmm1\n"                                              \
    "movups 32(%rsp), %xmm2\n movups 48(%rsp), %xmm3\n"                                            \
    "movups 64(%rsp), %xmm4\n movups 80(%rsp), %xmm5\n"                                            \
    "movups 96(%rsp), %xmm6\n movups 112(%rsp), %xmm7\n"                                           \
    "add $136, %rsp\n"                                                                             \
    "pop %rax\n pop %r9\n pop %r8\n pop %rcx\n pop %rdx\n pop %rsi\n pop %rdi\n"                   \
    "pop %rbp\n .cfi_def_cfa %rsp, 8\n"
#define KORVEL_FUNCTION(name, body)                                                                \
    __asm__(".text\n .globl " name "\n .type " name ", @function\n" name                           \
            ":\n .cfi_startproc\n" body "ret\n .cfi_endproc\n .size " name ", . - " name "\n");

// A message to nil answers zero in every register that holds a result; the callers of one that
// answers in memory look for nil themselves.
#define KORVEL_SEND(name, receiver, selector)                                                      \
    KORVEL_FUNCTION(name, "test " receiver ", " receiver "\n jz 1f\n" KORVEL_SAVE "mov " selector  \
                          ", %rax\n mov " receiver ", %rdi\n mov %rax, %rsi\n"                     \
                          "call korvelMethodOfReceiver\n" KORVEL_RESTORE "jmp *%r11\n"             \
                          "1: xor %eax, %eax\n xor %edx, %edx\n"                                   \
                          "xorps %xmm0, %xmm0\n xorps %xmm1, %xmm1\n")
// The receiver takes the place of the record that it came in.
#define KORVEL_SEND_SUPER(name, receiver, selector)                                                \
    KORVEL_FUNCTION(name, KORVEL_SAVE                                                              \
                    "mov " selector ", %rax\n mov " receiver ", %rdi\n mov %rax, %rsi\n"           \
                    "call korvelMethodOfSuper\n" KORVEL_RESTORE "mov (" receiver "), " receiver    \
                    "\n jmp *%r11\n")

KORVEL_SEND("objc_msgSend", "%rdi", "%rsi")
KORVEL_SEND("objc_msgSend_stret", "%rsi", "%rdx")
KORVEL_SEND_SUPER("objc_msgSendSuper2", "%rdi", "%rsi")
KORVEL_SEND_SUPER("objc_msgSendSuper2_stret", "%rsi", "%rdx")
