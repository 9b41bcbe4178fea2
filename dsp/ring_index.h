#pragma once

#include <cstdint>

// Index arithmetic of the engine's rings, whose lengths are no powers of two.
namespace engine {

// The index after `index` in a ring of the given length, wrapping.
constexpr int64_t ring_next(int64_t index, int64_t length) noexcept
{
    return index + 1 == length ? 0 : index + 1;
}

// The index `back` entries before `index` in a ring of the given length, for
// 0 <= back < length.
constexpr int64_t ring_back(int64_t index, int64_t back, int64_t length) noexcept
{
    const int64_t i = index - back;
    return i < 0 ? i + length : i;
}

} // namespace engine
