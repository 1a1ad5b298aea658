#pragma once
// Timing of short operations in the thread's own CPU time: the machine may
// be shared, and time spent in other processes is not counted.
#include <time.h>

namespace bench {

constexpr int kReps = 2000;

// The calling thread's CPU time in nanoseconds.
inline double threadNs() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return (double)now.tv_sec * 1e9 + (double)now.tv_nsec;
}

// Nanoseconds per call of op(k) over kReps calls, k = 0 .. kReps - 1.
template <typename Op>
double nsPerOp(Op op) {
    const double start = threadNs();
    for (int k = 0; k < kReps; ++k) op(k);
    return (threadNs() - start) / kReps;
}

}  // namespace bench
