/* The bare loop as a program: what a refresh every five seconds cannot cost less than.

       korvel_bare_monitor

   Exit status 1, after the first sample: some processes could not be read for want of descriptors.
 */

#include "bare_loop.h"

#include <stdio.h>
#include <unistd.h>

int main(void) {
    if (!bareLoopOpen()) {
        return 1;
    }
    for (;;) {
        bareLoopSample();
        if (bareLoopUnread() > 0) {
            fprintf(stderr, "%d processes could not be read: too few descriptors\n",
                    bareLoopUnread());
            return 1;
        }
        sleep(5);
    }
}
