#include <zrvfs/FileReaders.h>

#include <algorithm>

#include <zr/BufferReader.h>
#include <zr/MemBuffer.h>

namespace zrvfs
{
zr::u64 FileReaderImpl::readRaw(void* destination, zr::u64 count)
{
    return file.read(destination, std::min(count, remainingRaw()));
}

zr::u64 FileReaderImpl::remainingRaw() const
{
    const zr::u64 position = file.tell();
    return limit > position ? limit - position : 0;
}

zr::u64 FileReaderImpl::skipRaw(zr::u64 count)
{
    const zr::u64 skipped = std::min(count, remainingRaw());
    return file.seek(file.tell() + skipped) ? skipped : 0;
}

zr::ReaderPtr makeFileReader(IFile& file, zr::u64 limit)
{
    constexpr zr::u64 kReadAtOnce = 0x100000;
    const zr::u64 position = file.tell();
    const zr::u64 size = file.size();
    const zr::u64 left = std::min(limit, size > position ? size - position : 0);
    if (left > kReadAtOnce) return zr::ReaderPtr(new FileReaderImpl(file, position + left));
    const zr::RefPtr<zr::MemBuffer> content = zr::MemBuffer::acquire(left);
    content->setSize(file.read(content->data(), left)); // less if the file has just shrunk
    return zr::ReaderPtr(new zr::BufferReader(content));
}

zr::ReaderPtr makeOwningReader(FilePtr file, zr::u64 limit)
{
    if (!file) return nullptr;
    zr::ReaderPtr reader = makeFileReader(*file, limit);
    return zr::ReaderPtr(new FileReader(std::move(reader), std::move(file)));
}
} // namespace zrvfs
