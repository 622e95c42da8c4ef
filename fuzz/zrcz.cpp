// The index of a ZRCZ archive and the reading of its members, whole and as streams.
#include <zr/BufferReader.h>
#include <zr/ZstdDecompressReader.h>
#include <zr/exceptions.h>
#include <zrvfs/Drivers/ZRCZArchive.h>

#include "support.h"

namespace
{
/// What the stream of a frame gives, as far as it goes.
zr::u64 streamedSize(const fuzz::Bytes& archive, const zrvfs::ZRCZRecord& record, const zr::IBuffer* whole)
{
    const zr::RefPtr<zr::MemBuffer> stored = zr::MemBuffer::acquire(record.storedSize);
    archive.readAt(record.offset, stored->data(), record.storedSize);
    zr::BufferReader source(stored);
    zr::u64 total = 0;
    try
    {
        zr::ZstdDecompressReader reader(source, record.size);
        for (std::span<const zr::u8> part = reader.peek(); !part.empty(); part = reader.peek())
        {
            fuzz::check(!whole || std::memcmp(part.data(), whole->data() + total, part.size()) == 0);
            total += reader.skip(part.size());
        }
    }
    catch (const zr::ReadError&)
    {
        // zstd takes blocks that are larger than their window in one call, and refuses them in a stream.
    }
    return total;
}

void readMember(const fuzz::Bytes& archive, const zrvfs::ZRCZRecord& record)
{
    const zr::BufferRef whole = zrvfs::extract(archive, record, "member");
    fuzz::check(!whole || whole->size() == record.size);
    if (!record.isCompressed() || !archive.has(record.offset, record.storedSize)) return;
    const zr::u64 streamed = streamedSize(archive, record, whole.get());
    fuzz::check(streamed <= record.size);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const fuzz::Bytes archive(data, size);
    zrvfs::ZRCZIndex index;
    try
    {
        if (zrvfs::readIndex(archive, index)) return 0;
    }
    catch (const zr::ReadFormatError&)
    {
        return 0;
    }
    fuzz::check(index.fileNames.size() == index.records.size());
    fuzz::check(index.directoryNames.size() == index.directoryTimes.size());
    for (const std::string_view name : index.directoryNames)
        fuzz::checkPaths(name, true);
    for (const std::string_view name : index.fileNames)
        fuzz::checkPaths(name, false);
    for (std::size_t i = 0; i < std::min<std::size_t>(index.records.size(), 8); ++i)
        readMember(archive, index.records[i]);
    return 0;
}
