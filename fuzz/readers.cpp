// Reads an arbitrary stream in arbitrary steps through a decompressing reader:
//
//     byte 0         bit 0: zlib or zstd; the others: in pieces of how many bytes the source lends the stream
//     bytes 1 to 3   the stated total, of 18 bits
//     32 bytes       the numbers that choose the steps, one more at each repetition: so every script comes to an end
//     the rest       the stream
//
// No step may break a promise of the reader, whatever the stream holds, and a whole stream gives its content.

#include <cstddef>
#include <cstdint>

#include <zlib.h>
#include <zstd.h>

#include <zr/ZlibInflateReader.h>
#include <zr/ZstdDecompressReader.h>

#include "ReaderScript.h"

namespace
{
using Bytes = std::vector<zr::u8>;

constexpr std::size_t kSteps = 32;
constexpr std::size_t kScript = 4 + kSteps;

void hold(bool isTrue)
{
    if (!isTrue) __builtin_trap();
}

/// The content of a whole stream, inflated in one call. None of another one, or of one that holds more than was stated.
std::optional<Bytes> inflated(std::span<const zr::u8> stream, std::size_t stated)
{
    Bytes content(stated + 1);
    z_stream state{};
    hold(inflateInit2(&state, -15) == Z_OK);
    state.next_in = const_cast<zr::u8*>(stream.data());
    state.avail_in = static_cast<uInt>(stream.size());
    state.next_out = content.data();
    state.avail_out = static_cast<uInt>(content.size());
    const int result = inflate(&state, Z_FINISH);
    content.resize(state.total_out);
    inflateEnd(&state);
    return result == Z_STREAM_END && content.size() <= stated ? std::optional(content) : std::nullopt;
}

/// The same for zstd, in as many calls as there are bytes: its function for the whole takes blocks that are too large
/// for their window, which its stream refuses.
std::optional<Bytes> unpacked(std::span<const zr::u8> stream, std::size_t stated)
{
    Bytes content(stated + 1);
    ZSTD_DStream* const context = ZSTD_createDStream();
    ZSTD_outBuffer out{content.data(), content.size(), 0};
    std::size_t result = 1;
    for (ZSTD_inBuffer in{stream.data(), 0, 0}; result != 0 && !ZSTD_isError(result) && in.size < stream.size();)
    {
        ++in.size;
        result = ZSTD_decompressStream(context, &out, &in);
        if (in.pos < in.size) break; // no room
    }
    ZSTD_freeDStream(context);
    content.resize(out.pos);
    // In small steps its stream doesn't hold an empty last block against the size that the frame states; in one it
    // does.
    const std::size_t frame = ZSTD_findFrameCompressedSize(stream.data(), stream.size());
    Bytes atOnce(stated + 1);
    const bool isWhole =
        !ZSTD_isError(frame) && ZSTD_decompress(atOnce.data(), atOnce.size(), stream.data(), frame) == content.size();
    return result == 0 && isWhole && content.size() <= stated ? std::optional(content) : std::nullopt;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < kScript) return 0;
    const std::span<const zr::u8> stream(data + kScript, size - kScript);
    const std::size_t stated = data[1] | data[2] << 8 | (data[3] & 3) << 16;
    const bool isZlib = data[0] % 2 == 0;
    const std::size_t piece = data[0] / 2 == 127 ? stream.size() : 1 + data[0] / 2;

    std::size_t step = 0;
    const auto next = [&]
    {
        const std::size_t number = data[4 + step % kSteps] + step / kSteps;
        ++step;
        return static_cast<unsigned>(number % 256);
    };
    test::PieceReader source(stream, piece);
    const zr::ReaderPtr reader(isZlib ? static_cast<zr::Reader*>(new zr::ZlibInflateReader(source, stated))
                                      : new zr::ZstdDecompressReader(source, stated));
    const std::optional<Bytes> content = isZlib ? inflated(stream, stated) : unpacked(stream, stated);
    const test::Reading reading = test::follow(*reader, stated, content, next);
    hold(!reading.fault && reading.delivered <= stated);
    if (content) hold(reading.error.empty() && reading.delivered == content->size());
    return 0;
}
