#include <zrvfs/Drivers/ZipArchive.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <span>

#include <zlib.h>

#include <zrvfs/Drivers/littleEndian.h>

namespace zrvfs
{
namespace
{
constexpr zr::u32 kMaxU32 = 0xFFFFFFFF;
constexpr zr::u32 kMaxU16 = 0xFFFF;

constexpr zr::u64 kEndSize = 22;
constexpr zr::u64 kLocator64Size = 20;
constexpr zr::u64 kEnd64Size = 56;
constexpr zr::u64 kCentralSize = 46;
constexpr zr::u64 kLocalSize = 30;

bool hasSignature(const zr::u8* record, zr::u32 signature)
{
    return readLittleEndian<zr::u32>(record) == signature;
}

/// Where the central directory is.
struct Directory
{
    zr::u64 offset = 0;
    zr::u64 count = 0;
    bool isZip64 = false;
};

const char* findDirectory64(const ByteSource& archive, Directory& directory)
{
    const zr::u64 size = archive.size();
    zr::u8 record[kEnd64Size];
    constexpr zr::u64 kLocatorFromEnd = kEndSize + kLocator64Size;
    if (size < kLocatorFromEnd || !archive.readFully(size - kLocatorFromEnd, record, kLocator64Size) ||
        !hasSignature(record, 0x07064b50))
        return "Invalid EndOfCentralDirectoryLocator64.";
    constexpr zr::u64 kRecordFromEnd = kLocatorFromEnd + kEnd64Size;
    if (size < kRecordFromEnd || !archive.readFully(size - kRecordFromEnd, record, kEnd64Size) ||
        !hasSignature(record, 0x06064b50))
        return "Invalid EndOfCentralDirectoryRecord64.";
    directory = {readLittleEndian<zr::u64>(record + 48), readLittleEndian<zr::u64>(record + 32), true};
    return nullptr;
}

const char* findDirectory(const ByteSource& archive, Directory& directory)
{
    zr::u8 record[kEndSize];
    if (!archive.readFully(0, record, 2) || record[0] != 'P' || record[1] != 'K') return "Invalid zip signature.";
    constexpr const char* kInvalid = "Invalid EndOfCentralDirectoryRecord.";
    const zr::u64 size = archive.size();
    if (size < kEndSize || !archive.readFully(size - kEndSize, record, kEndSize) || !hasSignature(record, 0x06054b50))
        return kInvalid;
    const auto directorySize = readLittleEndian<zr::u32>(record + 12);
    const auto offset = readLittleEndian<zr::u32>(record + 16);
    if (directorySize == 0) return kInvalid;
    const zr::u32 counts[] = {readLittleEndian<zr::u16>(record + 4), readLittleEndian<zr::u16>(record + 6),
                              readLittleEndian<zr::u16>(record + 8), readLittleEndian<zr::u16>(record + 10)};
    if (std::ranges::count(counts, kMaxU16) != 0 || directorySize == kMaxU32 || offset == kMaxU32)
        return findDirectory64(archive, directory);
    directory = {offset, counts[3], false};
    return nullptr;
}

/// Seconds since 1970 of a date and time as DOS keeps them.
zr::i64 fromDosTime(zr::u32 date, zr::u32 time)
{
    using namespace std::chrono;
    const year_month_day day(year(static_cast<int>(1980 + (date >> 9))), month((date >> 5) & 15),
                             std::chrono::day(date & 31));
    const zr::u32 hour = time >> 11;
    const zr::u32 minute = (time >> 5) & 63;
    const zr::u32 second = (time & 31) * 2;
    if (!day.ok() || hour > 23 || minute > 59 || second > 59) return 0;
    return zr::i64{sys_days(day).time_since_epoch().count()} * 86400 + hour * 3600 + minute * 60 + second;
}

/// The central directory from a window that moves over it: small records, few reads.
class Window
{
public:
    Window(const ByteSource& source, zr::u64 start) : archive(source), offset(start) {}

    /// The next `count` bytes, valid until the next call; null if there are fewer.
    const zr::u8* take(zr::u64 count)
    {
        if (count > bytes.size() - at && !refill(count)) return nullptr;
        at += count;
        return bytes.data() + (at - count);
    }
    /// May go behind the end, where nothing is left to take.
    void skip(zr::u64 count)
    {
        const zr::u64 within = std::min<zr::u64>(count, bytes.size() - at);
        at += within;
        offset += count - within;
    }

private:
    bool refill(zr::u64 count)
    {
        constexpr zr::u64 kWindow = 0x40000;
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
        at = 0;
        const zr::u64 kept = bytes.size();
        if (!archive.has(offset, count - kept)) return false;
        const zr::u64 more = std::min(std::max(kWindow, count - kept), archive.size() - offset);
        bytes.resize(kept + more);
        const zr::u64 done = archive.readAt(offset, bytes.data() + kept, more);
        offset += done;
        bytes.resize(kept + done);
        return bytes.size() >= count;
    }

    const ByteSource& archive;
    zr::u64 offset; ///< in the archive, of what the window holds not yet
    zr::vector<zr::u8> bytes;
    zr::u64 at = 0; ///< in `bytes`
};

/// Replaces the saturated ones of a member's fields by those of its ZIP64 field. False if it has no field that fits.
bool readField64(const zr::u8* area, zr::u64 size, zr::u32 startDisk, ZipMember& member)
{
    zr::u64* const fields[] = {&member.uncompressedSize, &member.compressedSize, &member.localHeaderOffset};
    zr::u64 wanted = startDisk == kMaxU16 ? 4 : 0;
    for (const zr::u64* field : fields)
        wanted += *field == kMaxU32 ? 8 : 0;
    for (zr::u64 at = 0; size - at >= 4;)
    {
        const auto id = readLittleEndian<zr::u16>(area + at);
        const auto length = readLittleEndian<zr::u16>(area + at + 2);
        at += 4;
        if (length > size - at) return false;
        if (id == 1 && length == wanted)
        {
            for (zr::u64* field : fields)
            {
                if (*field != kMaxU32) continue;
                *field = readLittleEndian<zr::u64>(area + at);
                at += 8;
            }
            return true;
        }
        at += length;
    }
    return false;
}

const char* readMember(Window& window, bool isZip64, ZipMemberCallback callback, void* context)
{
    constexpr const char* kInvalid = "Invalid CentralDirectoryFileHeader.";
    const zr::u8* const header = window.take(kCentralSize);
    if (!header || !hasSignature(header, 0x02014b50)) return kInvalid;
    ZipMember member;
    member.time = fromDosTime(readLittleEndian<zr::u16>(header + 14), readLittleEndian<zr::u16>(header + 12));
    member.crc32 = readLittleEndian<zr::u32>(header + 16);
    member.compressedSize = readLittleEndian<zr::u32>(header + 20);
    member.uncompressedSize = readLittleEndian<zr::u32>(header + 24);
    member.localHeaderOffset = readLittleEndian<zr::u32>(header + 42);
    const zr::u64 nameLength = readLittleEndian<zr::u16>(header + 28);
    const zr::u64 extraLength = readLittleEndian<zr::u16>(header + 30);
    const zr::u64 commentLength = readLittleEndian<zr::u16>(header + 32);
    const auto startDisk = readLittleEndian<zr::u16>(header + 34);
    const bool hasDirectoryBit = (readLittleEndian<zr::u32>(header + 38) & 0x10) != 0;
    const zr::u64 behindName = isZip64 ? extraLength : 0; // the name and the fields are looked at together
    const zr::u8* const name = window.take(nameLength + behindName);
    if (!name) return kInvalid;
    member.name = {reinterpret_cast<const char*>(name), nameLength};
    if (isZip64 && !readField64(name + nameLength, extraLength, startDisk, member))
        return "Extra fields missing 64 bit file record.";
    // Some tools give directories no attribute but the slash.
    member.isDirectory = hasDirectoryBit || member.name.ends_with('/') || member.name.ends_with('\\');
    callback(context, member);
    window.skip(extraLength - behindName + commentLength);
    return nullptr;
}

/// One raw deflate stream, which has to fill `to` exactly. Gives what zlib says, Z_STREAM_END for success.
int inflateWhole(std::span<const zr::u8> from, std::span<zr::u8> to)
{
    constexpr std::size_t kMaxPart = std::numeric_limits<uInt>::max();
    z_stream stream = {};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK) return Z_ERRNO;
    stream.next_in = const_cast<Bytef*>(from.data());
    stream.next_out = to.data();
    std::size_t in = 0;  // bytes read
    std::size_t out = 0; // bytes written
    int result;
    do
    {
        // Its counters have 32 bits; sizes have 64.
        const std::size_t inPart = std::min(from.size() - in, kMaxPart);
        const std::size_t outPart = std::min(to.size() - out, kMaxPart);
        stream.avail_in = static_cast<uInt>(inPart);
        stream.avail_out = static_cast<uInt>(outPart);
        const bool isLastPart = in + inPart == from.size() && out + outPart == to.size();
        result = inflate(&stream, isLastPart ? Z_FINISH : Z_SYNC_FLUSH);
        in += inPart - stream.avail_in;
        out += outPart - stream.avail_out;
        if (isLastPart) break;
    } while (result == Z_OK);
    inflateEnd(&stream);
    if (result == Z_OK || (result == Z_STREAM_END && out != to.size())) return Z_BUF_ERROR;
    return result;
}
} // namespace

const char* scanZip(const ByteSource& archive, void (*expected)(void* context, zr::u64 count),
                    ZipMemberCallback callback, void* context)
{
    Directory directory;
    if (const char* const reason = findDirectory(archive, directory)) return reason;
    expected(context, std::min(directory.count, archive.size() / kCentralSize));
    Window window(archive, directory.offset);
    for (zr::u64 i = 0; i < directory.count; ++i)
        if (const char* const reason = readMember(window, directory.isZip64, callback, context)) return reason;
    return nullptr;
}

bool findZipContent(const ByteSource& archive, zr::u64 localHeaderOffset, ZipContent& content)
{
    zr::u8 header[kLocalSize];
    if (!archive.readFully(localHeaderOffset, header, kLocalSize) || !hasSignature(header, 0x04034b50)) return false;
    content.method = readLittleEndian<zr::u16>(header + 8);
    content.offset = localHeaderOffset + kLocalSize + zr::u64{readLittleEndian<zr::u16>(header + 26)} +
                     zr::u64{readLittleEndian<zr::u16>(header + 28)};
    return true;
}

zr::BufferRef readStored(const ByteSource& archive, const ZipContent& content, zr::u64 size)
{
    if (!archive.has(content.offset, size)) return nullptr;
    zr::RefPtr<zr::MemBuffer> buffer = zr::MemBuffer::tryAcquire(size);
    if (!buffer || archive.readAt(content.offset, buffer->data(), size) != size) return nullptr;
    return zr::BufferRef(buffer);
}

zr::BufferRef readDeflated(const ByteSource& archive, const ZipContent& content, zr::u64 compressedSize,
                           zr::u64 uncompressedSize, int& zlibResult)
{
    zlibResult = Z_BUF_ERROR;
    const zr::BufferRef compressed = readStored(archive, content, compressedSize);
    if (!compressed) return nullptr;
    // No stream gives more than 258 bytes for two bits; what claims more is not worth the memory.
    constexpr zr::u64 kMaxRatio = 1032;
    if (uncompressedSize / kMaxRatio > compressedSize) return nullptr;
    zr::RefPtr<zr::MemBuffer> buffer = zr::MemBuffer::tryAcquire(uncompressedSize);
    if (!buffer) return nullptr;
    zlibResult = inflateWhole(compressed->bytes(), {buffer->data(), uncompressedSize});
    return zlibResult == Z_STREAM_END ? zr::BufferRef(buffer) : zr::BufferRef();
}
} // namespace zrvfs
