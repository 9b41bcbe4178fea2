#pragma once

// Counts the heap allocations, frees and mutex locks that a thread makes
// inside an Audio_Section, across every library of the process (the plug-in
// module included): the test binary that links realtime_counter.cpp puts its
// own malloc, free, operator new and delete and pthread_mutex_lock in front
// of the C library's. Under AddressSanitizer or ThreadSanitizer, which have
// their own allocators, nothing is counted and available() is false.

namespace test_rt {

// While one lives, this thread's calls are counted.
class Audio_Section {
public:
    Audio_Section();
    ~Audio_Section();
    Audio_Section(const Audio_Section&) = delete;
    Audio_Section& operator=(const Audio_Section&) = delete;
};

struct Counts {
    long allocations = 0;
    long frees = 0;
    long locks = 0;
};

// Totals over every thread since the last reset.
Counts counts();
void reset();
bool available();

} // namespace test_rt
