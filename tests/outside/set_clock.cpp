// Preloaded into the program, it sets the wall clock ahead by the seconds that the file named by
// KORVEL_CLOCK_OFFSET holds, from one look at the clock to the next. Timers have another clock.

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include <sys/syscall.h>
#include <unistd.h>

namespace {

long offset() {
    const char* const path = std::getenv("KORVEL_CLOCK_OFFSET");
    std::FILE* const file = path != nullptr ? std::fopen(path, "re") : nullptr;
    if (file == nullptr) {
        return 0;
    }
    char text[32] = "";
    const char* const got = std::fgets(text, sizeof text, file);
    std::fclose(file);
    return got != nullptr ? std::strtol(text, nullptr, 10) : 0;
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) {
    const int result = static_cast<int>(::syscall(SYS_clock_gettime, clock, time));
    if (result == 0 && clock == CLOCK_REALTIME) {
        time->tv_sec += offset();
    }
    return result;
}
