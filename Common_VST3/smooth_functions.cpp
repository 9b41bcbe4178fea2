#include "Common_VST3/smooth_functions.h"

#include "Common_VST3/assertion.h"

smooth_functions::smooth_functions(int32_t history, int32_t max_len)
    : history_len(history < 1 ? 1 : history), max_function_len(max_len < 0 ? 0 : max_len)
{
    sums = new double[size_t(max_function_len)]();
    rows = new double*[size_t(history_len)];
    for (int32_t r = 0; r < history_len; ++r) rows[r] = new double[size_t(max_function_len)]();
}

smooth_functions::~smooth_functions()
{
    for (int32_t r = 0; r < history_len; ++r) delete[] rows[r];
    delete[] rows;
    delete[] sums;
}

void smooth_functions::do_smoothing(double* function, int32_t len)
{
    CORVANE_ASSERT(len <= max_function_len, "do_smoothing", "Common_VST3/smooth_functions",
                   "function_len <= max_function_len");
    if (restart || len != function_len) {
        row = 0;
        filled = 0;
        function_len = len;
        restart = false;
        for (int32_t i = 0; i < len; ++i) sums[i] = 0.0;
    }
    double* slot = rows[row];
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
    row = row + 1 == history_len ? 0 : row + 1;
}
