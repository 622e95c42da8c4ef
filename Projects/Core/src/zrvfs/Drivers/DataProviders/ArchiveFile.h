#pragma once

#include <string_view>

#include <platform/files.h>
#include <zrvfs/ByteSource.h>

namespace zrvfs
{
/// An archive that is open while something is read from it, by position; by one thread.
class ArchiveFile final : public ByteSource
{
public:
    /// Opens a regular file by any path, virtual or not; a refusal is logged unless `quiet`.
    ArchiveFile(std::string_view location, bool quiet);
    ~ArchiveFile();
    ArchiveFile(const ArchiveFile&) = delete;
    ArchiveFile& operator=(const ArchiveFile&) = delete;

    bool isOpen() const noexcept { return static_cast<bool>(file); }
    zr::u64 size() const override { return bytes; }
    zr::u64 readAt(zr::u64 offset, void* destination, zr::u64 count) const override;

private:
    const std::string_view path;
    platform::FileHandle file;
    zr::u64 bytes = 0; ///< as it was when the file was opened
};
} // namespace zrvfs
