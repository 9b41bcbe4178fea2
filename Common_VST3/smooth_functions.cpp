#include "Common_VST3/smooth_functions.h"

#include <cstddef>

#include "Common_VST3/assertion.h"

namespace {
constexpr const char* kPath = "Common_VST3/smooth_functions";
}

smooth_functions::smooth_functions(int32_t history, int32_t max_len)
    : history_len(history)
    , max_function_len(max_len)
{
    CORVANE_ASSERT(history > 0 && max_len >= 0, "smooth_functions", kPath,
                   "history_len > 0 && max_function_len >= 0");
    const size_t width = size_t(max_function_len);
    sums = new double[width]();
    // The rows share one block; rows[0] is its start.
    rows = new double*[size_t(history_len)];
    double* block = new double[size_t(history_len) * width]();
    for (int32_t r = 0; r < history_len; ++r) rows[r] = block + size_t(r) * width;
}

smooth_functions::~smooth_functions()
{
    delete[] rows[0];
    delete[] rows;
    delete[] sums;
}

void smooth_functions::do_smoothing(double* function, int32_t len)
{
    CORVANE_ASSERT(len <= max_function_len, "do_smoothing", kPath,
                   "function_len <= max_function_len");
    if (restart || len != function_len) {
        row = 0;
        filled = 0;
        function_len = len;
        restart = false;
        for (int32_t i = 0; i < len; ++i) sums[i] = 0.0;
    }
    double* slot = rows[row];
    // Once the window is full, the row about to be overwritten leaves the sums.
    if (filled == history_len) {
        for (int32_t i = 0; i < len; ++i) sums[i] -= slot[i];
    }
    for (int32_t i = 0; i < len; ++i) {
        slot[i] = function[i];
        sums[i] += function[i];
    }
    if (filled < history_len) ++filled;
    const double scale = 1.0 / double(filled);
    for (int32_t i = 0; i < len; ++i) function[i] = sums[i] * scale;
    if (++row == history_len) row = 0;
}
