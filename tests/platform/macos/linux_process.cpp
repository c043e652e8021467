// What the standard library's archive refers to and the Linux process that runs it has not got, or
// has in another shape. Without the system's headers, which declare these otherwise.

extern "C" {

int* __errno_location();

void* __dso_handle = nullptr;
void* __stderrp = nullptr;
char _DefaultRuneLocale[4096] = {};

int* __error() {
    return __errno_location();
}

unsigned pthread_mach_thread_np(void*) {
    return 1;
}

// One thread runs, and a mutex has another size here.
int pthread_mutex_lock(void*) {
    return 0;
}

int pthread_mutex_unlock(void*) {
    return 0;
}

int pthread_mutex_destroy(void*) {
    return 0;
}

} // extern "C"
