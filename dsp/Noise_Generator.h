#pragma once

#include <cstdint>

// The engine's own source of denormal-guard noise. The C library's rand()
// takes a lock, which the audio thread must not, so each engine owns one of
// these: a 31-bit linear congruential generator with the same range as rand()
// on this platform (0 to 2147483647), deterministic from its seed.
class Noise_Generator {
public:
    static constexpr int32_t max_value = 2147483647;

    explicit Noise_Generator(uint32_t seed = 1) noexcept : state(seed) {}

    // Audio thread. The next value, 0 to max_value.
    int32_t next() noexcept
    {
        state = state * 1103515245u + 12345u;
        return int32_t((state >> 1) & 0x7fffffffu);
    }

    // Audio thread. (next() / max_value - 0.5) * 1e-20: a value far below
    // hearing that keeps filter states out of the denormal range. A draw of
    // exactly zero is drawn again, so the noise is never 0.0.
    double denormal_noise() noexcept
    {
        for (;;) {
            const double bracket = double(next()) / double(max_value) - 0.5;
            if (bracket != 0.0) return bracket * 1e-20;
        }
    }

private:
    uint32_t state;
};
