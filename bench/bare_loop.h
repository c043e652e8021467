#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* One sample's reads and nothing else, in plain C: descriptors are kept, files are read by pread,
   the process table is listed through a kept directory. What a sample cannot be faster than. */

/* Opens what stays open, and raises the limit of descriptors as far as it goes. 0 on failure. */
int bareLoopOpen(void);

/* Closes all of it: the descriptors of processes that have gone are kept until then. */
void bareLoopClose(void);

/* Reads everything once; returns the pages of anonymous memory of all processes. */
long bareLoopSample(void);

/* How many processes the last sample met. */
int bareLoopProcesses(void);

/* How many of them it could not read for want of a descriptor: then it read less than a sample
 * does. */
int bareLoopUnread(void);

#ifdef __cplusplus
}
#endif
