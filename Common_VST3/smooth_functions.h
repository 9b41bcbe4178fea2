#pragma once

#include <cstdint>

// The running mean of the last history_len vectors of a stream, entry by
// entry. Storage is allocated once in the constructor; do_smoothing allocates
// nothing. One object belongs to one thread at a time.
class smooth_functions {
public:
    smooth_functions(int32_t history_len, int32_t max_function_len);
    virtual ~smooth_functions();

    smooth_functions(const smooth_functions&) = delete;
    smooth_functions& operator=(const smooth_functions&) = delete;

    // Replaces function[0 .. function_len) by the mean of it and the vectors
    // before it. A new length, or a reset, starts the mean afresh.
    void do_smoothing(double* function, int32_t function_len);
    // The next call starts afresh.
    void reset_smoothing() { restart = true; }

    int32_t history_len;
    int32_t max_function_len;
    double* sums;
    double** rows;
    int32_t function_len = 0;
    int32_t row = 0;
    int32_t filled = 0;
    bool restart = true;
};
