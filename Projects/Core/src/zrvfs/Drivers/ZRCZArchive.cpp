#include <zrvfs/Drivers/ZRCZArchive.h>

#include <algorithm>
#include <cstring>
#include <span>

#include <zstd.h>

#include <zr/exceptions.h>
#include <zr/log/Log.h>
#include <zr/threads/HeldList.h>
#include <zrvfs/Drivers/littleEndian.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
namespace
{
constexpr const char* kBroken = "archive is broken";
constexpr const char* kEncrypted = "encrypted archive isn't supported";

constexpr zr::u64 kTrailerSize = 40;
constexpr zr::u64 kSpanSize = 16;
constexpr zr::u64 kRecordSize = 48;

/// The index, field by field. What goes beyond its end is raised before anybody allocates for it.
class Cursor
{
public:
    explicit Cursor(const zr::vector<zr::u8>& index) : at(index.data()), left(index.size()) {}

    const zr::u8* take(zr::u64 size)
    {
        if (size > left) throw zr::ReadFormatError();
        const zr::u8* const taken = at;
        at += size;
        left -= size;
        return taken;
    }
    /// `count` things of `size` bytes each.
    const zr::u8* take(zr::u64 count, zr::u64 size)
    {
        if (count > left / size) throw zr::ReadFormatError();
        return take(count * size);
    }
    zr::u64 number() { return readLittleEndian<zr::u64>(take(8)); }

private:
    const zr::u8* at;
    zr::u64 left;
};

/// The name that a span tells of: cut at the pool's end, empty beyond it.
std::string_view nameAt(const zr::u8* span, const zr::vector<char>& pool)
{
    const auto offset = readLittleEndian<zr::u64>(span);
    const auto length = readLittleEndian<zr::u64>(span + 8);
    if (offset >= pool.size()) return {};
    return {pool.data() + offset, std::min(length, pool.size() - offset)};
}

/// Names may share bytes, but not so that a small file tells of more text than memory can hold.
class NameReader
{
public:
    NameReader(const zr::vector<char>& names, zr::u64 indexSize) : pool(names), left(kFree + indexSize * 4) {}

    zr::vector<std::string_view> read(const zr::u8* spans, zr::u64 count)
    {
        zr::vector<std::string_view> names(count);
        for (zr::u64 i = 0; i < count; ++i)
        {
            names[i] = nameAt(spans + i * kSpanSize, pool);
            if (names[i].size() > left) throw zr::ReadFormatError();
            left -= names[i].size();
        }
        return names;
    }

private:
    static constexpr zr::u64 kFree = 16 << 20;

    const zr::vector<char>& pool;
    zr::u64 left;
};

void parse(const zr::vector<zr::u8>& bytes, ZRCZIndex& index)
{
    Cursor cursor(bytes);
    cursor.take(4); // the marker
    cursor.take(cursor.number());
    const zr::u64 poolSize = cursor.number();
    const zr::u8* const pool = cursor.take(poolSize);
    index.names.assign(pool, pool + poolSize);
    NameReader names(index.names, bytes.size());
    for (int table = 0; table < 3; ++table)
        cursor.take(cursor.number(), 16);

    const zr::u64 directories = cursor.number();
    index.directoryNames = names.read(cursor.take(directories, kSpanSize), directories);
    const zr::u8* const times = cursor.take(directories, 8);
    index.directoryTimes.resize(directories);
    for (zr::u64 i = 0; i < directories; ++i)
        index.directoryTimes[i] = readLittleEndian<zr::u64>(times + i * 8);

    const zr::u64 files = cursor.number();
    const zr::u8* const records = cursor.take(files, kRecordSize);
    cursor.take(files, 24);
    const zr::u8* const spans = cursor.take(files, kSpanSize);
    cursor.take(files, 32); // digests
    index.fileNames = names.read(spans, files);
    index.records.resize(files);
    for (zr::u64 i = 0; i < files; ++i)
    {
        const zr::u8* const record = records + i * kRecordSize;
        index.records[i] = {readLittleEndian<zr::u64>(record), readLittleEndian<zr::u64>(record + 8),
                            readLittleEndian<zr::u64>(record + 16), readLittleEndian<zr::u64>(record + 24),
                            readLittleEndian<zr::u64>(record + 32)};
    }
}

/// Contexts for whole members, used again: each costs more than a small member.
class Contexts
{
public:
    ~Contexts()
    {
        while (Node* const node = idle.pop())
        {
            ZSTD_freeDCtx(node->context);
            delete node;
        }
    }

    std::size_t decompress(std::span<zr::u8> to, std::span<const zr::u8> from)
    {
        Node* node = idle.pop();
        if (!node) node = new Node{make(), nullptr};
        const std::size_t result = ZSTD_decompressDCtx(node->context, to.data(), to.size(), from.data(), from.size());
        idle.push(node);
        return result;
    }

private:
    struct Node
    {
        ZSTD_DCtx* context;
        Node* next;
    };

    static ZSTD_DCtx* make()
    {
        ZSTD_DCtx* const context = ZSTD_createDCtx();
        if (!context) zr::outOfMemoryHandler("ZSTD_createDCtx", 0);
        return context;
    }

    zr::HeldList<Node> idle;
};

Contexts contexts;

/// The most that a zstd frame of `storedSize` bytes can hold: a block of at least four bytes gives 128 KiB at most.
zr::u64 mostContent(zr::u64 storedSize)
{
    constexpr zr::u64 kBlock = 0x20000;
    const zr::u64 blocks = storedSize / 4 + 1;
    return blocks > ~zr::u64{0} / kBlock ? ~zr::u64{0} : blocks * kBlock;
}

/// What a frame's own header says of its content; reads no more than that header.
zr::u64 statedContent(const ByteSource& archive, const ZRCZRecord& record)
{
    zr::u8 header[18];
    const zr::u64 size = std::min<zr::u64>(record.storedSize, sizeof(header));
    if (!archive.readFully(record.offset, header, size)) return ZSTD_CONTENTSIZE_ERROR;
    return ZSTD_getFrameContentSize(header, size);
}

zr::BufferRef extractStored(const ByteSource& archive, const ZRCZRecord& record)
{
    if (!archive.has(record.offset, record.size)) return nullptr;
    const zr::RefPtr<zr::MemBuffer> buffer = zr::MemBuffer::tryAcquire(record.size);
    if (!buffer || archive.readAt(record.offset, buffer->data(), record.size) != record.size) return nullptr;
    return zr::BufferRef(buffer);
}

zr::BufferRef extractFrame(const ByteSource& archive, const ZRCZRecord& record, std::string_view name)
{
    if (!archive.has(record.offset, record.storedSize)) return nullptr;
    zr::RefPtr<zr::MemBuffer> buffer;
    if (statedContent(archive, record) == record.size && record.size <= mostContent(record.storedSize))
        buffer = zr::MemBuffer::tryAcquire(record.size + record.storedSize);
    if (!buffer)
    {
        ZR_LOG(zr::log::kCoreTag, zr::log::kError, "Can't extract file %.*s.", ZR_VIEW(name));
        return nullptr;
    }
    // One block serves for both sides.
    zr::u8* const stored = buffer->data() + record.size;
    if (archive.readAt(record.offset, stored, record.storedSize) != record.storedSize) return nullptr;
    if (contexts.decompress({buffer->data(), record.size}, {stored, record.storedSize}) != record.size)
    {
        ZR_LOG(zr::log::kCoreTag, zr::log::kError, "Can't decompress file %.*s.", ZR_VIEW(name));
        return nullptr;
    }
    buffer->setSize(record.size);
    return zr::BufferRef(buffer);
}
} // namespace

const char* readIndex(const ByteSource& archive, ZRCZIndex& index)
{
    const zr::u64 size = archive.size();
    zr::u8 trailer[kTrailerSize];
    if (size < 8 || !archive.readFully(size - 8, trailer + 32, 8)) return kBroken;
    if (std::memcmp(trailer + 36, "ZRCZ", 4) != 0 || readLittleEndian<zr::u32>(trailer + 32) != 3) return kBroken;
    if (size < kTrailerSize || !archive.readFully(size - kTrailerSize, trailer, kTrailerSize)) return kBroken;
    if (readLittleEndian<zr::u64>(trailer + 24) != 0) return kEncrypted;
    const auto indexSize = readLittleEndian<zr::u64>(trailer);
    if (indexSize < 4 || indexSize > size - kTrailerSize) throw zr::ReadFormatError();
    zr::u8 marker[4];
    const zr::u64 indexOffset = size - kTrailerSize - indexSize;
    if (!archive.readFully(indexOffset, marker, sizeof(marker))) throw zr::ReadFormatError();
    if (readLittleEndian<zr::u32>(marker) != 0) return kEncrypted;
    zr::vector<zr::u8> bytes(indexSize);
    if (archive.readAt(indexOffset, bytes.data(), indexSize) != indexSize) throw zr::ReadFormatError();
    parse(bytes, index);
    return nullptr;
}

zr::BufferRef extract(const ByteSource& archive, const ZRCZRecord& record, std::string_view name)
{
    return record.isCompressed() ? extractFrame(archive, record, name) : extractStored(archive, record);
}
} // namespace zrvfs
