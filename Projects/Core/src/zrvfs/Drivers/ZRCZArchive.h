#pragma once

#include <string_view>

#include <zr/MemBuffer.h>
#include <zr/containers.h>
#include <zrvfs/ByteSource.h>

/// The ZRCZ format, from bytes to records and content: members first, each a zstd frame or stored, and all of the
/// directory at the end of the file. Nothing here opens a file.
namespace zrvfs
{
/// One member, as the index keeps it.
struct ZRCZRecord
{
    zr::u64 offset;
    zr::u64 storedSize;
    zr::u64 size;
    zr::u64 time; ///< seconds since 1970
    zr::u64 flags;

    bool isCompressed() const { return (flags & 1) != 0; }
};

struct ZRCZIndex
{
    zr::vector<char> names; ///< what the names are views of
    zr::vector<std::string_view> directoryNames;
    zr::vector<zr::u64> directoryTimes;
    zr::vector<std::string_view> fileNames;
    zr::vector<ZRCZRecord> records; ///< of the files
};

/// Reads the index. Gives null, or the reason why this is no archive that can be read; raises `zr::ReadFormatError` for
/// an index that is cut short or counts more than it holds.
const char* readIndex(const ByteSource& archive, ZRCZIndex& index);

/// The content of a member; null when it can't be read, which is logged with `name` if the archive is to blame.
zr::BufferRef extract(const ByteSource& archive, const ZRCZRecord& record, std::string_view name);
} // namespace zrvfs
