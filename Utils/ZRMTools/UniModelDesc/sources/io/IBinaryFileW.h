#pragma once

#include <bit>
#include <cstddef>
#include <string_view>

#include "base/types.h"

namespace io
{
using model::f32;
using model::f64;
using model::u16;
using model::u32;
using model::u64;
using model::u8;

/// A binary output file. Numbers go out little-endian whatever the host, without alignment.
class IBinaryFileW
{
public:
    virtual ~IBinaryFileW() = default;

    virtual bool isOpen() const = 0;
    /// Gives the bytes written.
    virtual std::size_t write(const void* data, std::size_t size) = 0;
    virtual void seek(std::size_t position) = 0;
    virtual std::size_t tell() const = 0;
    virtual const char* name() const = 0;
    /// A `u32` length, then the bytes, unless the file keeps its strings elsewhere.
    virtual void writeString(std::string_view text);
    /// Room for `size` bytes at the cursor, which moves behind it. The caller fills all of it before the next
    /// operation; it has no alignment.
    virtual u8* append(std::size_t size) = 0;
    /// `write` of bytes that stay where and as they are until the whole file has been used: they need no copy.
    virtual void writeLasting(const void* data, std::size_t size) { write(data, size); }

    void writeU8(u8 value) { put<1>(value); }
    void writeU16(u16 value) { put<2>(value); }
    void writeU32(u32 value) { put<4>(value); }
    void writeU64(u64 value) { put<8>(value); }
    void writeF32(f32 value) { put<4>(std::bit_cast<u32>(value)); }
    void writeF64(f64 value) { put<8>(std::bit_cast<u64>(value)); }
    void writeVec2f(const model::vec2f& value) { putFloats(value._v, 2); }
    void writeVec3f(const model::vec3f& value) { putFloats(value._v, 3); }
    void writeVec4f(const model::vec4f& value) { putFloats(value._v, 4); }
    void writeVec3d(const model::vec3d& value);
    /// A quaternion, as x, y, z, w.
    void writeVec4d(const model::vec4d& value);
    void writeMatrixf(const model::matrixf& value) { putFloats(value.m, 16); }
    void writeMatrixd(const model::matrixd& value);
    /// A `u32` length, then all bytes of the text, NUL ones too.
    void writeRawName(std::string_view text);

protected:
    /// Free room at the cursor while that stands at the end of the file; null elsewhere.
    u8* next = nullptr;
    u8* limit = nullptr;

private:
    template <int kBytes>
    void put(u64 value)
    {
        u8* bytes = next;
        if (static_cast<std::size_t>(limit - bytes) >= kBytes)
            next = bytes + kBytes;
        else
            bytes = append(kBytes);
        for (int i = 0; i < kBytes; ++i)
            bytes[i] = static_cast<u8>(value >> (8 * i));
    }
    void putFloats(const f32* values, int count)
    {
        for (int i = 0; i < count; ++i)
            writeF32(values[i]);
    }
};
} // namespace io
