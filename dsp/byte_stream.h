#pragma once

#include <cstddef>
#include <cstdint>

// Big-endian reading and writing over any byte source or sink, so that the
// engine's state sections need nothing of the plug-in framework. Every read
// and write answers false when the stream could not give or take all bytes.
class Byte_Writer {
public:
    virtual ~Byte_Writer() = default;
    virtual bool write_bytes(const void* data, size_t size) = 0;

    bool write_int16(int16_t v) { return write_big(uint64_t(uint16_t(v)), 2); }
    bool write_int32(int32_t v) { return write_big(uint64_t(uint32_t(v)), 4); }
    bool write_int64(int64_t v) { return write_big(uint64_t(v), 8); }

private:
    bool write_big(uint64_t v, int size)
    {
        unsigned char bytes[8];
        for (int i = 0; i < size; ++i) bytes[i] = static_cast<unsigned char>(v >> (8 * (size - 1 - i)));
        return write_bytes(bytes, size_t(size));
    }
};

class Byte_Reader {
public:
    virtual ~Byte_Reader() = default;
    virtual bool read_bytes(void* data, size_t size) = 0;

    bool read_int16(int16_t& v)
    {
        uint64_t raw = 0;
        if (!read_big(raw, 2)) return false;
        v = int16_t(uint16_t(raw));
        return true;
    }
    bool read_int32(int32_t& v)
    {
        uint64_t raw = 0;
        if (!read_big(raw, 4)) return false;
        v = int32_t(uint32_t(raw));
        return true;
    }
    bool read_int64(int64_t& v)
    {
        uint64_t raw = 0;
        if (!read_big(raw, 8)) return false;
        v = int64_t(raw);
        return true;
    }

private:
    bool read_big(uint64_t& v, int size)
    {
        unsigned char bytes[8];
        if (!read_bytes(bytes, size_t(size))) return false;
        v = 0;
        for (int i = 0; i < size; ++i) v = (v << 8) | bytes[i];
        return true;
    }
};
