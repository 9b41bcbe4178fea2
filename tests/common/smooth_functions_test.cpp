#include "Common_VST3/smooth_functions.h"

#include <gtest/gtest.h>

#include <vector>

TEST(SmoothFunctions, RunningMeanOfTheLastVectors)
{
    smooth_functions s(3, 4);
    // Each row: the input and the mean expected of it and up to two before.
    const struct {
        std::vector<double> in;
        std::vector<double> mean;
    } steps[] = {
        {{3, 6, 9}, {3, 6, 9}},          // first call: the input itself
        {{5, 0, 1}, {4, 3, 5}},          // mean of two
        {{1, 3, 2}, {3, 3, 4}},          // mean of three
        {{0, 0, 0}, {2, 1, 1}},          // the first one drops out
        {{8, 8, 8}, {3, 11.0 / 3, 10.0 / 3}},
    };
    for (const auto& step : steps) {
        std::vector<double> v = step.in;
        s.do_smoothing(v.data(), int32_t(v.size()));
        for (size_t i = 0; i < v.size(); ++i) EXPECT_NEAR(v[i], step.mean[i], 1e-12);
    }
}

TEST(SmoothFunctions, NewLengthOrResetStartsAfresh)
{
    smooth_functions s(4, 8);
    std::vector<double> a = {10, 10};
    s.do_smoothing(a.data(), 2);
    std::vector<double> b = {2, 4, 6};
    s.do_smoothing(b.data(), 3);
    EXPECT_EQ(b, (std::vector<double>{2, 4, 6}));

    std::vector<double> c = {4, 4, 4};
    s.do_smoothing(c.data(), 3);
    EXPECT_EQ(c, (std::vector<double>{3, 4, 5}));

    s.reset_smoothing();
    std::vector<double> d = {7, 7, 7};
    s.do_smoothing(d.data(), 3);
    EXPECT_EQ(d, (std::vector<double>{7, 7, 7}));
}

TEST(SmoothFunctionsDeathTest, TooLongAVectorIsAProgrammingError)
{
    smooth_functions s(2, 4);
    std::vector<double> v(5, 1.0);
    EXPECT_DEATH(s.do_smoothing(v.data(), 5),
                 "function_len <= max_function_len.*do_smoothing.*Common_VST3/smooth_functions");
}
