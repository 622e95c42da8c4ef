#include <zr/ZlibInflateReader.h>

#include <algorithm>
#include <limits>

#include <zlib.h>

#include <zr/exceptions.h>

namespace zr
{
namespace
{
/// Negative: without header and checksum; the largest window.
constexpr int kRawDeflate = -15;

/// zlib counts in 32 bits; what is beyond is for the next call.
uInt clamped(std::size_t size) noexcept
{
    return static_cast<uInt>(std::min<std::size_t>(size, std::numeric_limits<uInt>::max()));
}
} // namespace

void ZlibInflateReader::StreamEnd::operator()(z_stream_s* ended) const noexcept
{
    inflateEnd(ended);
    delete ended;
}

ZlibInflateReader::ZlibInflateReader(Reader& compressed, u64 expectedTotal)
    : DecompressingReader(compressed, expectedTotal),
      stream(new z_stream_s{})
{
    const int result = inflateInit2(stream.get(), kRawDeflate);
    if (result != Z_OK) throw ZlibError(result, stream->msg);
}

DecompressingReader::Progress ZlibInflateReader::decompress(std::span<const u8> input, std::span<u8> output)
{
    const uInt inputSize = stream->avail_in = clamped(input.size());
    const uInt outputSize = stream->avail_out = clamped(output.size());
    stream->next_in = const_cast<u8*>(input.data()); // it doesn't write there
    Bytef none;                                      // zlib takes no null, even where it is to write nothing
    stream->next_out = output.empty() ? &none : output.data();
    const int result = inflate(stream.get(), Z_SYNC_FLUSH);
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR) throw ZlibError(result, stream->msg);
    return {inputSize - stream->avail_in, outputSize - stream->avail_out, result == Z_STREAM_END};
}
} // namespace zr
