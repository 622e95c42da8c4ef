#pragma once

#include <zr/ReaderWithBuffer.h>
#include <zrvfs/IFile.h>

namespace zrvfs
{
/// Hands all calls on to a reader that it owns.
class FileReaderWrapper : public zr::Reader
{
public:
    explicit FileReaderWrapper(zr::ReaderPtr innerReader) : inner(std::move(innerReader)) {}

    zr::u64 read(void* destination, zr::u64 count) override { return inner->read(destination, count); }
    zr::u64 skip(zr::u64 count) override { return inner->skip(count); }
    zr::u64 remaining() const override { return inner->remaining(); }
    const char* name() const noexcept override { return inner->name(); }
    std::span<const zr::u8> peek() override { return inner->peek(); }

private:
    zr::ReaderPtr inner;
};

/// A reader together with the file that it reads.
class FileReader final : public FileReaderWrapper
{
public:
    FileReader(zr::ReaderPtr innerReader, FilePtr innerFile)
        : FileReaderWrapper(std::move(innerReader)),
          file(std::move(innerFile))
    {
    }

private:
    FilePtr file; // ends before the reader, which doesn't touch it then
};

/// A reader whose file stays the caller's.
class FileReaderAdapter final : public FileReaderWrapper
{
public:
    using FileReaderWrapper::FileReaderWrapper;
};

/// Streams a file that it borrows, from its position on.
class FileReaderImpl final : public zr::ReaderWithBuffer
{
public:
    /// end  where the content ends; at most the file's size
    FileReaderImpl(IFile& source, zr::u64 end) : file(source), limit(end) {}

    const char* name() const noexcept override { return file.name(); }

protected:
    zr::u64 readRaw(void* destination, zr::u64 count) override;
    zr::u64 remainingRaw() const override;
    zr::u64 skipRaw(zr::u64 count) override;

private:
    IFile& file;
    const zr::u64 limit;
};

/// A reader of what lies between a file's position and its end, or the next `limit` bytes if that is less. Up to 1 MiB
/// is read at once, which moves the file's position; more is streamed, and the file must live as long as the reader.
zr::ReaderPtr makeFileReader(IFile& file, zr::u64 limit = ~zr::u64{0});

/// As `makeFileReader`, for a reader that owns its file; null for a null file.
zr::ReaderPtr makeOwningReader(FilePtr file, zr::u64 limit = ~zr::u64{0});
} // namespace zrvfs
