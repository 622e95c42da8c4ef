#pragma once

#include <memory>

#include <zr/IBuffer.h>
#include <zr/Reader.h>

namespace zrvfs
{
/// An open file. Used by one thread at a time; ended by `destroy`, never by `delete`.
class IFile
{
public:
    virtual ~IFile() = default;
    /// The name under which it was opened, zero-terminated.
    virtual const char* name() const noexcept = 0;
    /// Where its content really lies, zero-terminated.
    virtual const char* realName() const noexcept = 0;
    /// Bytes read; 0 after a failure, which was logged.
    virtual zr::u64 read(void* destination, zr::u64 count) = 0;
    /// Bytes written; 0 after a failure and for a file that is open for reading.
    virtual zr::u64 write(const void* source, zr::u64 count) = 0;
    virtual zr::u64 tell() = 0;
    virtual bool seek(zr::u64 position) = 0;
    virtual zr::u64 size() = 0;
    /// The whole content, wherever the position stands, which stays; null after a failure.
    virtual zr::BufferRef toBuffer() = 0;
    virtual void destroy() noexcept = 0;
    /// Moves the position on.
    virtual bool skip(zr::u64 count) = 0;

protected:
    IFile() = default;
    IFile(const IFile&) = delete;
    IFile& operator=(const IFile&) = delete;
};

using FilePtr = std::unique_ptr<IFile, zr::Destroyer>;
} // namespace zrvfs
