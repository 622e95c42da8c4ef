#pragma once

#include <memory>

#include <zr/DecompressingReader.h>

struct ZSTD_DCtx_s;

namespace zr
{
/// Reads the first frame of a zstd stream. Raises `ZstdError`, also for a frame whose window is above zstd's own limit
/// of 128 MiB. Up to 8 decompression contexts wait for the next reader.
class ZstdDecompressReader final : public DecompressingReader
{
public:
    ZstdDecompressReader(Reader& compressed, u64 expectedTotal);

private:
    struct ContextEnd
    {
        void operator()(ZSTD_DCtx_s* context) const noexcept;
    };

    Progress decompress(std::span<const u8> input, std::span<u8> output) override;

    const std::unique_ptr<ZSTD_DCtx_s, ContextEnd> context;
};
} // namespace zr
