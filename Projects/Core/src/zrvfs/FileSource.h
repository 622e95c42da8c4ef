#pragma once

#include <zrvfs/ByteSource.h>
#include <zrvfs/IFile.h>

namespace zrvfs
{
/// The bytes of an open file that it borrows; the size is that of the beginning.
class FileSource final : public ByteSource
{
public:
    explicit FileSource(IFile& source) : file(source), bytes(source.size()) {}

    zr::u64 size() const override { return bytes; }
    zr::u64 readAt(zr::u64 offset, void* destination, zr::u64 count) const override
    {
        return file.seek(offset) ? file.read(destination, count) : 0;
    }

private:
    IFile& file;
    const zr::u64 bytes;
};
} // namespace zrvfs
