// Clock and memory readings shared by the start-up probes.
#ifndef PROBE_COMMON_H
#define PROBE_COMMON_H

#include <chrono>
#include <cstdio>
#include <unistd.h>

inline double nowUs()
{
    using namespace std::chrono;
    return duration<double, std::micro>(steady_clock::now().time_since_epoch()).count();
}

// Resident set size in KiB.
inline long rssKb()
{
    long pages = 0, resident = 0;
    if (FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%ld %ld", &pages, &resident) != 2)
            resident = 0;
        std::fclose(f);
    }
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

#endif
