#pragma once

#include <cstdio>
#include <cstdlib>

// Programming errors in the shared library: a failed condition ends the program
// with one line on stderr naming the condition, the function and the source
// path, e.g.
//   Assertion failed: (b0 != 0.), function set_biQuad, file Common_VST3/biQuad_Filter.
// Active in every build type, NDEBUG or not: the conditions guard against values
// that would otherwise corrupt a filter or a mean silently.
//
// CORVANE_ASSERT(condition, function, path, text): `text` is the condition as it
// is to be reported, which need not be the C++ expression letter for letter.
#define CORVANE_ASSERT(condition, function, path, text)                      \
    do {                                                                     \
        if (!(condition)) corvane_assertion_failed((function), (path), (text)); \
    } while (0)

[[noreturn]] inline void corvane_assertion_failed(const char* function, const char* path,
                                                  const char* text)
{
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %s.\n", text, function, path);
    std::fflush(stderr);
    std::abort();
}
