// A library that leaves a file in the working folder for each way to have its code run by loading
// it.

#include <fcntl.h>
#include <unistd.h>

namespace {

void leave(const char* mark) {
    ::close(::open(mark, O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

[[gnu::constructor]] void constructed() {
    leave("mark-constructor");
}

int zero() {
    return 0;
}

} // namespace

extern "C" int (*resolve())() {
    leave("mark-resolver");
    return zero;
}

extern "C" [[gnu::ifunc("resolve")]] int resolved();
