#ifndef HLVTRACE_THREAD_STATS_H
#define HLVTRACE_THREAD_STATS_H

// What one worker thread counts, and where its time goes: inside Embree (primary rays and the library's
// probes through rayTest) and inside the library's own calls (their nested Embree time taken out).

#include <chrono>
#include <cstdint>

namespace hlvtrace {

using Clock = std::chrono::steady_clock;

inline std::int64_t nanosecondsSince(Clock::time_point start)
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - start).count();
}

struct alignas(64) ThreadStats {
    std::uint64_t primaryRays = 0;  // rays that the library handed out and Embree traced
    std::uint64_t probeRays = 0;    // rays that the library asked for through rayTest
    std::uint64_t hits = 0;         // primary rays that hit: samples handed back
    std::uint64_t plaquesRecorded = 0;  // plaques the library kept in the thread's buckets, before cleaning
    std::int64_t embreeNs = 0;
    std::int64_t libraryNs = 0;
    std::int64_t busyNs = 0;        // all of the thread's work on tiles

    void add(ThreadStats const& other)
    {
        primaryRays += other.primaryRays;
        probeRays += other.probeRays;
        hits += other.hits;
        plaquesRecorded += other.plaquesRecorded;
        embreeNs += other.embreeNs;
        libraryNs += other.libraryNs;
        busyNs += other.busyNs;
    }
};

}  // namespace hlvtrace

#endif
