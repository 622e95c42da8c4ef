#pragma once

#include <string_view>

#include <zr/MemBuffer.h>
#include <zr/containers.h>
#include <zrvfs/ByteSource.h>

/// The zip format, from bytes to records and content: PKWARE's application note with its ZIP64 extension; stored and
/// deflated members, no comment behind the archive, no encryption. Nothing here opens a file.
namespace zrvfs
{
/// A member as the central directory tells of it.
struct ZipMember
{
    std::string_view name; ///< as stored; valid during the call
    zr::u64 localHeaderOffset = 0;
    zr::u64 compressedSize = 0;
    zr::u64 uncompressedSize = 0;
    zr::i64 time = 0; ///< seconds since 1970, of a time without a zone; 0 for a date that there is not
    zr::u32 crc32 = 0;
    bool isDirectory = false;
};

using ZipMemberCallback = void (*)(void* context, const ZipMember& member);

/// Reads the central directory and calls back for each member, in its order. Members that came before a failure were
/// told.
///
/// expected  called once before the members with how many there can be at most
/// returns   null, or the reason why this is no archive that can be read
const char* scanZip(const ByteSource& archive, void (*expected)(void* context, zr::u64 count),
                    ZipMemberCallback callback, void* context);

/// The content of a member behind its local header.
struct ZipContent
{
    zr::u64 offset = 0;
    zr::u16 method = 0;
};
constexpr zr::u16 kZipStored = 0;
/// Deflate64 counts too: its streams are deflate's as long as they don't use what it adds.
constexpr bool isDeflate(zr::u16 method)
{
    return method == 8 || method == 9;
}

/// False if there is no local file header.
bool findZipContent(const ByteSource& archive, zr::u64 localHeaderOffset, ZipContent& content);

/// The bytes of a stored member; null if the archive doesn't hold as many.
zr::BufferRef readStored(const ByteSource& archive, const ZipContent& content, zr::u64 size);

/// Inflates a member in memory; null if its stream doesn't give exactly `uncompressedSize` bytes.
///
/// zlibResult  what zlib said at last
zr::BufferRef readDeflated(const ByteSource& archive, const ZipContent& content, zr::u64 compressedSize,
                           zr::u64 uncompressedSize, int& zlibResult);
} // namespace zrvfs
