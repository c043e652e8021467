#define _GNU_SOURCE
#include "bare_loop.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <unistd.h>

enum { files = 6, most_pids = 4194304 };

static const char* const names[files] = {"/proc/meminfo", "/proc/stat",
                                         "/proc/vmstat",  "/proc/pressure/memory",
                                         "/proc/loadavg", "/sys/devices/system/cpu/online"};
static int kept[files];
static int proc_directory = -1;
static int* statm; /* by pid; 0: none yet */
static int met;
static int unread;
static char buffer[262144];

int bareLoopOpen(void) {
    struct rlimit limit;
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    for (int i = 0; i < files; ++i) {
        kept[i] = open(names[i], O_RDONLY | O_CLOEXEC); /* a missing one is -1, and read in vain */
    }
    proc_directory = open("/proc", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    statm = calloc(most_pids, sizeof *statm);
    if (proc_directory < 0 || statm == NULL) {
        bareLoopClose();
        return 0;
    }
    return 1;
}

static void closed(int* file) {
    if (*file > 0) {
        close(*file);
    }
    *file = -1;
}

void bareLoopClose(void) {
    for (int i = 0; i < files; ++i) {
        closed(&kept[i]);
    }
    closed(&proc_directory);
    for (int pid = 0; statm != NULL && pid < most_pids; ++pid) {
        if (statm[pid] > 0) {
            close(statm[pid]);
        }
    }
    free(statm);
    statm = NULL;
}

static long read_process(int pid) {
    char text[128];
    if (statm[pid] == 0) {
        char path[64];
        snprintf(path, sizeof path, "%d/statm", pid);
        int opened = openat(proc_directory, path, O_RDONLY | O_CLOEXEC);
        if (opened < 0) {
            unread += errno == EMFILE || errno == ENFILE;
            return 0;
        }
        statm[pid] = opened;
    }
    ssize_t got = pread(statm[pid], text, sizeof text - 1, 0);
    if (got <= 0) {
        close(statm[pid]);
        statm[pid] = 0;
        return 0;
    }
    text[got] = 0;
    char* rest = text;
    strtol(rest, &rest, 10);
    long resident = strtol(rest, &rest, 10);
    return resident - strtol(rest, &rest, 10);
}

long bareLoopSample(void) {
    volatile long total = 0;
    for (int i = 0; i < files; ++i) {
        ssize_t got = pread(kept[i], buffer, sizeof buffer, 0);
        total += got > 0 ? buffer[0] & 1 : 0;
    }
    struct statvfs volume;
    statvfs(getenv("HOME"), &volume);
    met = 0;
    unread = 0;
    lseek(proc_directory, 0, SEEK_SET);
    for (;;) {
        long got = syscall(SYS_getdents64, proc_directory, buffer, sizeof buffer);
        if (got <= 0) {
            return total;
        }
        for (long at = 0; at < got;) {
            struct dirent64* entry = (struct dirent64*)(buffer + at);
            at += entry->d_reclen;
            int pid = atoi(entry->d_name);
            if (pid > 0 && pid < most_pids) {
                ++met;
                total += read_process(pid);
            }
        }
    }
}

int bareLoopProcesses(void) {
    return met;
}

int bareLoopUnread(void) {
    return unread;
}
