#pragma once

#include <memory>

#include <zr/DecompressingReader.h>

struct z_stream_s;

namespace zr
{
/// Reads a raw deflate stream, without header and checksum. Raises `ZlibError`.
class ZlibInflateReader final : public DecompressingReader
{
public:
    ZlibInflateReader(Reader& compressed, u64 expectedTotal);

private:
    struct StreamEnd
    {
        void operator()(z_stream_s* stream) const noexcept;
    };

    Progress decompress(std::span<const u8> input, std::span<u8> output) override;

    const std::unique_ptr<z_stream_s, StreamEnd> stream;
};
} // namespace zr
