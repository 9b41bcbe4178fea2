#include "Common_VST3/smooth_functions.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <vector>

TEST(SmoothFunctions, RunningMeanOfTheLastVectors)
{
    smooth_functions s(3, 4);
    // Each step: the input and, worked by hand, the mean of it and up to two
    // vectors before it.
    const struct {
        std::vector<double> in;
        std::vector<double> mean;
    } steps[] = {
        {{3, 6, 9}, {3, 6, 9}},               // the first call returns its input
        {{5, 0, 1}, {4, 3, 5}},               // the mean of two
        {{1, 3, 2}, {3, 3, 4}},               // of three
        {{0, 0, 0}, {2, 1, 1}},               // {3, 6, 9} drops out
        {{8, 8, 8}, {3, 11.0 / 3, 10.0 / 3}}, // {5, 0, 1} drops out
    };
    for (const auto& step : steps) {
        std::vector<double> v = step.in;
        s.do_smoothing(v.data(), int32_t(v.size()));
        for (size_t i = 0; i < v.size(); ++i) EXPECT_NEAR(v[i], step.mean[i], 1e-12) << i;
    }
}

TEST(SmoothFunctions, AgreesWithADirectMeanOverALongStream)
{
    // Independent estimate: keep the vectors since the last restart (a new
    // length, a reset) and average the last history_len of them directly;
    // lengths run up to the longest allowed.
    for (int32_t history : {1, 2, 3, 5, 8}) {
        const int32_t max_len = 6;
        smooth_functions s(history, max_len);
        std::mt19937 rng(uint32_t(1234 + history));
        std::uniform_real_distribution<double> value(-10.0, 10.0);
        std::deque<std::vector<double>> kept;
        int32_t len = 4;
        for (int step = 0; step < 300; ++step) {
            bool restart = false;
            if (step % 41 == 40) { // a new length
                len = len == 4 ? 6 : (len == 6 ? 1 : 4);
                restart = true;
            }
            if (step % 67 == 66) { // a reset
                s.reset_smoothing();
                restart = true;
            }
            if (restart) kept.clear();
            std::vector<double> v(static_cast<size_t>(len));
            for (double& x : v) x = value(rng);
            kept.push_back(v);
            if (int32_t(kept.size()) > history) kept.pop_front();
            s.do_smoothing(v.data(), len);
            for (int32_t i = 0; i < len; ++i) {
                double sum = 0.0;
                for (const auto& k : kept) sum += k[size_t(i)];
                EXPECT_NEAR(v[size_t(i)], sum / double(kept.size()), 1e-11)
                    << "history " << history << " step " << step << " entry " << i;
            }
        }
    }
}

TEST(SmoothFunctionsDeathTest, BadSizesAreProgrammingErrors)
{
    smooth_functions s(2, 4);
    std::vector<double> v(5, 1.0);
    EXPECT_DEATH(s.do_smoothing(v.data(), 5),
                 "Assertion failed: \\(function_len <= max_function_len\\), function do_smoothing, "
                 "file Common_VST3/smooth_functions\\.");
    EXPECT_DEATH(smooth_functions(0, 4),
                 "history_len > 0 && max_function_len >= 0.*function smooth_functions");
}
