#pragma once

#include <cstdio>
#include <cstdlib>

// Programming errors: a failed condition ends the program with the function's
// name, the source path and the condition. Active in every build type, since
// the conditions guard against values that would corrupt filters silently.
#define CORVANE_ASSERT(condition, function, path, text)                                  \
    do {                                                                                  \
        if (!(condition)) corvane_assertion_failed(function, path, text);                 \
    } while (0)

[[noreturn]] inline void corvane_assertion_failed(const char* function, const char* path,
                                                  const char* text)
{
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %s.\n", text, function, path);
    std::fflush(stderr);
    std::abort();
}
