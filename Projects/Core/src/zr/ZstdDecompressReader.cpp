#include <zr/ZstdDecompressReader.h>

#include <zstd.h>
#include <zstd_errors.h>

#include <zr/exceptions.h>
#include <zr/threads/IdleCache.h>

namespace zr
{
namespace
{
/// Enough for the window of every usual level. A context that a frame made larger isn't kept.
constexpr std::size_t kLargestIdle = std::size_t{16} << 20;

constinit IdleCache<ZSTD_DCtx, 8> idle;

void end(ZSTD_DCtx* context) noexcept
{
    ZSTD_freeDStream(context);
}

const IdleCacheDrain<idle, end> drain;

ZSTD_DCtx* takeContext()
{
    if (ZSTD_DCtx* const known = idle.take()) return known;
    ZSTD_DCtx* const made = ZSTD_createDStream();
    if (!made) throw ZstdError(u64{0} - ZSTD_error_memory_allocation);
    return made;
}
} // namespace

void ZstdDecompressReader::ContextEnd::operator()(ZSTD_DCtx* ended) const noexcept
{
    ZSTD_DCtx_reset(ended, ZSTD_reset_session_and_parameters);
    if (ZSTD_sizeof_DStream(ended) > kLargestIdle || !idle.give(ended)) end(ended);
}

ZstdDecompressReader::ZstdDecompressReader(Reader& compressed, u64 expectedTotal)
    : DecompressingReader(compressed, expectedTotal),
      context(takeContext())
{
}

DecompressingReader::Progress ZstdDecompressReader::decompress(std::span<const u8> input, std::span<u8> output)
{
    ZSTD_inBuffer in{input.data(), input.size(), 0};
    ZSTD_outBuffer out{output.data(), output.size(), 0};
    const std::size_t result = ZSTD_decompressStream(context.get(), &out, &in);
    if (ZSTD_isError(result)) throw ZstdError(result);
    return {in.pos, out.pos, result == 0};
}
} // namespace zr
