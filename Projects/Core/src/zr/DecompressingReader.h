#pragma once

#include <zr/ReaderWithBuffer.h>

namespace zr
{
/// What readers of compressed content have in common: they read what another reader lends, and end where the stream
/// does, at the total that was stated for it, or where the source has no more.
///
/// The source is the caller's, who must not use it meanwhile. It is moved by whole spans that it lent, so that it need
/// not stand at the stream's end in the end. What is wrong with the stream raises a `ReadError`; what the failing
/// call had decompressed is lost then, and there is nothing more to read.
class DecompressingReader : public ReaderWithBuffer
{
protected:
    /// expectedTotal  of decompressed bytes; never more of them come
    DecompressingReader(Reader& compressed, u64 expectedTotal) noexcept : source(compressed), expected(expectedTotal) {}

    struct Progress
    {
        u64 consumed;
        u64 produced;
        bool isEnd; ///< of the stream
    };
    /// Decompresses as much as both spans allow; either may be empty. Raises what is wrong with the stream.
    virtual Progress decompress(std::span<const u8> input, std::span<u8> output) = 0;

private:
    u64 readRaw(void* destination, u64 count) final;
    u64 remainingRaw() const final { return expected - produced; }
    u64 skipRaw(u64 count) final;

    /// Unconsumed bytes of the source; empty at its end.
    std::span<const u8> input();
    void consume(u64 count);

    Reader& source;
    u64 produced = 0;
    u64 expected;
    std::span<const u8> lent;
    u64 consumed = 0; ///< of the bytes lent
    bool isFinished = false;
};
} // namespace zr
