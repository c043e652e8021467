// A program that needs no loader. It is never started.

extern "C" void _start() {} // NOLINT: the linker's name
