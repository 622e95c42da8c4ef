#pragma once

#include <zr/types.h>

namespace zrvfs
{
/// The bytes of an archive, read by position: a file, or memory.
class ByteSource
{
public:
    virtual zr::u64 size() const = 0;
    /// Bytes read; fewer than `count` at the end and after a failure.
    virtual zr::u64 readAt(zr::u64 offset, void* destination, zr::u64 count) const = 0;

    /// False if there are fewer.
    bool readFully(zr::u64 offset, void* destination, zr::u64 count) const
    {
        return has(offset, count) && readAt(offset, destination, count) == count;
    }
    /// Whether `count` bytes lie at `offset`. Asked before anything is allocated for them.
    bool has(zr::u64 offset, zr::u64 count) const { return offset <= size() && count <= size() - offset; }

protected:
    ~ByteSource() = default;
};
} // namespace zrvfs
