#pragma once

// A growing buffer of bytes that the model's stream forms write into and
// read back from, with the helpers tests use to build streams by hand.

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "dsp/byte_stream.h"

struct Bytes : Byte_Writer, Byte_Reader {
    std::vector<unsigned char> data;
    size_t at = 0;
    bool write_bytes(const void* p, size_t n) override
    {
        auto* c = static_cast<const unsigned char*>(p);
        data.insert(data.end(), c, c + n);
        return true;
    }
    bool read_bytes(void* p, size_t n) override
    {
        if (at + n > data.size()) return false;
        std::memcpy(p, data.data() + at, n);
        at += n;
        return true;
    }
    // A text as an i32 length and its bytes.
    void text(const std::string& s)
    {
        write_int32(int32_t(s.size()));
        write_bytes(s.data(), s.size());
    }
    // A float's bits as an i32.
    void f32(float v)
    {
        int32_t b;
        std::memcpy(&b, &v, 4);
        write_int32(b);
    }
};
