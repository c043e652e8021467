#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/* One sample's reads and nothing else, in plain C: descriptors are kept, files are read by pread,
   the process table is listed through a kept directory. What a sample cannot be faster than. */

/* Opens what stays open. 0 on failure. */
int bareLoopOpen(void);

/* Reads everything once; returns the pages of anonymous memory of all processes. */
long bareLoopSample(void);

/* How many processes the last sample met. */
int bareLoopProcesses(void);

#ifdef __cplusplus
}
#endif
