#pragma once
// Processor time of this process so far (user and system), for the benchmarks' ratios.

#include <sys/resource.h>

inline double cpuSeconds() {
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return u.ru_utime.tv_sec + u.ru_stime.tv_sec + (u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}
