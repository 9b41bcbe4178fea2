#pragma once

// 32-bit floats in the stream forms of the model: the float's bits as one
// big-endian i32, for any writer with write_int32 or reader with read_int32.

#include <cstdint>
#include <cstring>

namespace streamFloats {

template <class Writer> bool writeFloat(Writer& out, float v)
{
    int32_t bits;
    std::memcpy(&bits, &v, 4);
    return out.write_int32(bits);
}

template <class Reader> bool readFloat(Reader& in, float& v)
{
    int32_t bits = 0;
    if (!in.read_int32(bits)) return false;
    std::memcpy(&v, &bits, 4);
    return true;
}

} // namespace streamFloats
