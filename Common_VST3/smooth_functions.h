#pragma once

#include <cstdint>

// The running mean of the last `history_len` vectors of a stream, entry by
// entry: each call of do_smoothing replaces its vector by the mean of it and of
// up to history_len - 1 vectors before it.
//
// All storage is allocated once by the constructor (interface thread);
// do_smoothing and reset_smoothing allocate nothing and may run on the audio
// thread. An object belongs to one thread at a time.
class smooth_functions {
public:
    // Asserts "history_len > 0 && max_function_len >= 0".
    smooth_functions(int32_t history_len, int32_t max_function_len);
    virtual ~smooth_functions();

    smooth_functions(const smooth_functions&) = delete;
    smooth_functions& operator=(const smooth_functions&) = delete;

    // Replaces function[0 .. function_len) by the running mean. A call after
    // reset_smoothing, or with a length other than the last one, starts the mean
    // afresh, so the first call returns its input unchanged.
    // Asserts "function_len <= max_function_len".
    void do_smoothing(double* function, int32_t function_len);

    // The next do_smoothing starts afresh.
    void reset_smoothing() { restart = true; }

    int32_t history_len;      // how many vectors are averaged
    int32_t max_function_len; // the longest vector allowed
    double* sums;             // max_function_len running sums
    double** rows;            // history_len rows of max_function_len doubles, one block
    int32_t function_len = 0; // the length in use
    int32_t row = 0;          // the next row to overwrite
    int32_t filled = 0;       // how many rows hold data
    bool restart = true;      // the next call starts afresh
};
