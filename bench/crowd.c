/* Processes that only sleep.

       korvel_crowd COUNT

   Makes so many, prints "ready", and ends them when its input ends, or it is told to end. They end
   with it however it ends. Exit status 1, with none left: one of them could not be made. */

#define _GNU_SOURCE
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

static pid_t* made;
static int many;

static void end_all(void) {
    for (int i = 0; i < many; ++i) {
        if (made[i] > 0) { /* what could not be made must never be asked to end: -1 is everybody */
            kill(made[i], SIGKILL);
        }
    }
    while (waitpid(-1, NULL, 0) > 0 || errno == EINTR) {
    }
}

/* Ends the wait for input. */
static void wake(int number) {
    (void)number;
}

int main(int argc, char** argv) {
    int wanted = argc == 2 ? atoi(argv[1]) : -1;
    if (wanted < 0) {
        fputs("usage: korvel_crowd COUNT\n", stderr);
        return 2;
    }
    made = calloc((size_t)wanted + 1, sizeof *made);
    struct sigaction ending = {.sa_handler = wake}; /* without SA_RESTART */
    sigaction(SIGTERM, &ending, NULL);
    sigaction(SIGINT, &ending, NULL);
    pid_t self = getpid();
    for (; many < wanted; ++many) {
        pid_t child = fork();
        if (child == 0) {
            signal(SIGTERM, SIG_DFL);
            signal(SIGINT, SIG_DFL);
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            while (getppid() == self) {
                pause();
            }
            _exit(0);
        }
        if (child < 0) {
            fprintf(stderr, "only %d of %d processes: %s\n", many, wanted, strerror(errno));
            end_all();
            return 1;
        }
        made[many] = child;
    }
    puts("ready");
    fflush(stdout);
    char nothing[64];
    while (read(STDIN_FILENO, nothing, sizeof nothing) > 0) {
    }
    end_all();
    return 0;
}
