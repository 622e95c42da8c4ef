#pragma once

#include <memory>
#include <span>

#include <zr/types.h>

namespace zr
{
/// Ends objects that come from pools, or end otherwise in their own way.
struct Destroyer
{
    template <class T>
    void operator()(T* object) const noexcept
    {
        object->destroy();
    }
};

/// A stream that is pulled, and that can lend its next bytes without copying them. Used by one thread at a time.
/// Reading may raise what its source raises (`zr::ReadError`).
class Reader
{
public:
    virtual ~Reader() = default;
    /// Ends the reader; its owner calls this and never `delete`.
    virtual void destroy() noexcept { delete this; }

    /// Bytes delivered; fewer than `count` at the end of the content alone.
    virtual u64 read(void* destination, u64 count) = 0;
    /// Bytes skipped; fewer than `count` at the end of the content alone.
    virtual u64 skip(u64 count) = 0;
    /// Bytes still to come, as far as the source tells; damaged content may end before.
    virtual u64 remaining() const = 0;
    /// Zero-terminated.
    virtual const char* name() const noexcept { return ""; }
    /// The next bytes, valid until the next call; nothing is consumed. Empty at the end of the content alone.
    virtual std::span<const u8> peek() = 0;

protected:
    Reader() = default;
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
};

using ReaderPtr = std::unique_ptr<Reader, Destroyer>;
} // namespace zr
