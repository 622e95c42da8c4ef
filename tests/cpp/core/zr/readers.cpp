#include <zr/BufferReader.h>
#include <zr/MemBuffer.h>
#include <zr/ReaderWithBuffer.h>
#include <zr/ZlibInflateReader.h>
#include <zr/ZstdDecompressReader.h>

#include <gtest/gtest.h>
#include <zlib.h>
#include <zstd.h>

#include "Random.h"
#include "ReaderScript.h"

namespace
{
using namespace zr;
using Bytes = std::vector<u8>;

/// Reads memory in blocks, and tells how much it was asked for.
class BlockReader final : public ReaderWithBuffer
{
public:
    explicit BlockReader(std::span<const u8> bytes) : source(bytes, 0) {}

    std::vector<u64> asked;

private:
    u64 readRaw(void* destination, u64 count) override
    {
        asked.push_back(count);
        return source.read(destination, count);
    }
    u64 remainingRaw() const override { return source.remaining(); }
    u64 skipRaw(u64 count) override { return source.skip(count); }

    test::PieceReader source;
};

TEST(Readers, ABlockIsUsedWhereItSavesWork)
{
    constexpr u64 kBlock = 0x800000, kHalf = kBlock / 2;
    const struct
    {
        std::vector<u64> reads, asked;
    } cases[] = {
        {{0x20000}, {0x20000}},                                // too large for taking a block
        {{0x1FFFF, 5}, {kBlock}},                              // a block serves both
        {{1, kBlock - 1}, {kBlock}},                           //
        {{1, kBlock - 1 + kHalf}, {kBlock, kHalf}},            // the rest goes straight to its place
        {{1, kBlock - 1 + kHalf - 1, 1}, {kBlock, kBlock}},    // the rest is worth another block
        {{1, kBlock - 1, 0x20000, 0x20000}, {kBlock, kBlock}}, // of a block that is held there is use
        {{0}, {}},
    };
    const Bytes content(3 * kBlock);
    Bytes memory(2 * kBlock);
    for (const auto& [reads, asked] : cases)
    {
        BlockReader reader(content);
        for (const u64 count : reads)
            EXPECT_EQ(reader.read(memory.data(), count), count);
        EXPECT_EQ(reader.asked, asked);
    }
}

/// Between incompressible and one long repetition.
Bytes randomContent(test::Random& random, std::size_t size)
{
    Bytes content(size);
    const u64 mask = random.pick({255, 15, 1, 0});
    for (u8& byte : content)
        byte = static_cast<u8>(random.next() & mask);
    return content;
}

Bytes deflated(const Bytes& content)
{
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY);
    Bytes result(deflateBound(&stream, content.size()));
    stream.next_in = const_cast<u8*>(content.data());
    stream.avail_in = static_cast<uInt>(content.size());
    stream.next_out = result.data();
    stream.avail_out = static_cast<uInt>(result.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

Bytes zstdCompressed(const Bytes& content)
{
    Bytes result(ZSTD_compressBound(content.size()));
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
    result.resize(ZSTD_compress2(context, result.data(), result.size(), content.data(), content.size()));
    ZSTD_freeCCtx(context);
    return result;
}

BufferRef bufferOf(std::span<const u8> bytes)
{
    RefPtr<MemBuffer> buffer = MemBuffer::acquire(bytes.size());
    std::copy(bytes.begin(), bytes.end(), buffer->data());
    return buffer;
}

ReaderPtr plainReader(test::Random& random, std::span<const u8> bytes)
{
    switch (random.below(3))
    {
    case 0:
        return ReaderPtr(new BufferReader(bufferOf(bytes)));
    case 1:
        return ReaderPtr(new BlockReader(bytes));
    default:
        return ReaderPtr(new test::PieceReader(bytes, 1 + random.below(300)));
    }
}

ReaderPtr decompressing(bool isZlib, Reader& source, u64 stated)
{
    return ReaderPtr(isZlib ? static_cast<Reader*>(new ZlibInflateReader(source, stated))
                            : new ZstdDecompressReader(source, stated));
}

TEST(Readers, GiveTheContentInWhateverSteps)
{
    test::Random random(1);
    const auto next = [&] { return random.below(256); };
    enum
    {
        kNone,
        kCut,
        kFlipped,
        kMoreBehind
    };
    int raised = 0;
    for (int round = 0; round < 400; ++round)
    {
        const std::size_t size = round % 100 == 0 ? 9'000'000 : random.below(random.pick({3, 5000, 400'000}));
        const Bytes content = randomContent(random, size);
        const ReaderPtr plain = plainReader(random, content);
        const test::Reading plainly = test::follow(*plain, size, content, next);
        ASSERT_TRUE(!plainly.fault && plainly.error.empty() && plainly.delivered == size)
            << round << ' ' << plainly.fault;

        const bool isZlib = random.chance(50);
        Bytes stream = isZlib ? deflated(content) : zstdCompressed(content);
        const auto damage = random.pick({kNone, kCut, kFlipped, kMoreBehind});
        if (damage == kCut) stream.resize(random.below(stream.size()));
        if (damage == kFlipped) stream[random.below(stream.size())] ^= static_cast<u8>(1u << random.below(8));
        if (damage == kMoreBehind) stream.resize(stream.size() + 100);
        const u64 stated = random.pick<u64>({size, size / 2, size + 9, damage == kFlipped ? 2 * size : u64(-1)});
        const ReaderPtr source = plainReader(random, stream);
        const ReaderPtr reader = decompressing(isZlib, *source, stated);
        const bool isKnown = damage != kFlipped;
        const auto known = isKnown ? std::optional<std::span<const u8>>(content) : std::nullopt;
        const test::Reading reading = test::follow(*reader, stated, known, next);
        ASSERT_TRUE(!reading.fault && (!isKnown || reading.error.empty()))
            << round << ' ' << reading.fault << reading.error << damage << isZlib << ' ' << size << ' ' << stated;
        const bool isWhole = damage == kNone || damage == kMoreBehind;
        ASSERT_TRUE(!isWhole || reading.delivered == std::min<u64>(size, stated)) << round;
        raised += !reading.error.empty();
    }
    EXPECT_GT(raised, 20) << "of about 100 streams with a wrong bit";
}

TEST(Readers, AStreamThatIsWrongRaises)
{
    const Bytes content(5000, 7);
    Bytes wrongSum = zstdCompressed(content);
    wrongSum.back() ^= 1;
    // Its header asks for a window of 2 GiB.
    const Bytes largeWindow{0x28, 0xB5, 0x2F, 0xFD, 0x00, 0xA8, 0x01, 0x00, 0x00};
    const struct
    {
        bool isZlib;
        Bytes stream;
        u64 stated, honest;
    } cases[] = {
        {true, {0x07}, 100, 1000},          // a block of a kind that doesn't exist
        {false, wrongSum, 5000, 1000},      // told with the last bytes, not after them
        {false, largeWindow, 100, 1000},    //
        {true, deflated(content), 5000, 3}, // the source doesn't skip what it lent
        {false, zstdCompressed(content), 5000, 3},
    };
    for (const auto& [isZlib, stream, stated, honest] : cases)
        for (const u64 count : {stated, u64{0x20000}}) // through a block, and past it
        {
            test::PieceReader source(stream, 5, honest);
            const ReaderPtr reader = decompressing(isZlib, source, stated);
            Bytes memory(count);
            EXPECT_THROW(reader->read(memory.data(), count), ReadError);
            EXPECT_EQ(reader->read(memory.data(), count), 0u);
        }
}
} // namespace
