#include <zr/DecompressingReader.h>

#include <algorithm>
#include <array>

#include <zr/exceptions.h>

namespace zr
{
u64 DecompressingReader::readRaw(void* destination, u64 count)
{
    if (isFinished)
    {
        expected = produced;
        return 0;
    }
    isFinished = true; // should anything raise: the stream and the source are not to be touched again
    const u64 left = expected - produced;
    const std::span<u8> output(static_cast<u8*>(destination), std::min(count, left));
    u64 written = 0;
    bool isEnd = false;
    // With the last byte out the stream may still hold its end and a checksum. Without room for output the decompressor
    // comes to a stop there, or where the stream holds more than was stated.
    while (!isEnd && (written < output.size() || written == left))
    {
        const Progress step = decompress(input(), output.subspan(written));
        consume(step.consumed);
        written += step.produced;
        isEnd = step.isEnd || (step.consumed == 0 && step.produced == 0);
    }
    produced += written;
    if (isEnd) expected = produced;
    isFinished = isEnd;
    return written;
}

u64 DecompressingReader::skipRaw(u64 count)
{
    std::array<u8, 1024> small;
    std::span<u8> unwanted = freeBlock();
    if (unwanted.empty()) unwanted = small;
    u64 skipped = 0;
    while (skipped < count)
    {
        const u64 amount = readRaw(unwanted.data(), std::min<u64>(count - skipped, unwanted.size()));
        if (amount == 0) break;
        skipped += amount;
    }
    return skipped;
}

std::span<const u8> DecompressingReader::input()
{
    if (consumed == lent.size())
    {
        lent = source.peek();
        consumed = 0;
    }
    return lent.subspan(consumed);
}

void DecompressingReader::consume(u64 count)
{
    consumed += count;
    if (lent.empty() || consumed < lent.size()) return;
    if (source.skip(lent.size()) != lent.size()) throw ReadFormatError();
    lent = {};
    consumed = 0;
}
} // namespace zr
