#pragma once

#include <atomic>
#include <mutex>

#include <platform/files.h>
#include <zr/ReaderWithBuffer.h>
#include <zr/containers.h>
#include <zrvfs/ByteSource.h>

namespace zrvfs
{
/// An archive that many threads read by position. Opens at its first use, and again after a use that failed.
class OverlappedFile final : public ByteSource
{
public:
    explicit OverlappedFile(std::string_view location) : path(location) {}
    OverlappedFile(const OverlappedFile&) = delete;
    OverlappedFile& operator=(const OverlappedFile&) = delete;
    ~OverlappedFile();

    /// Opens the file if it isn't open. False, and logged, when it can't be.
    bool open();
    /// Bytes read, 0 for a file that isn't open; what fails is logged.
    zr::u64 readAt(zr::u64 offset, void* destination, zr::u64 count) const override;
    /// In bytes, as it was when the file was opened; 0 before.
    zr::u64 size() const override { return bytes.load(std::memory_order_relaxed); }
    const char* getPath() const noexcept { return path.c_str(); }

private:
    platform::FileHandle file() const noexcept { return {handle.load(std::memory_order_acquire)}; }

    std::atomic<std::intptr_t> handle{-1};
    std::atomic<zr::u64> bytes{0}; ///< written before the handle
    std::mutex opening;
    const zr::string path;
};

/// Streams a range of bytes of an open file that it borrows.
class OverlappedFileReader final : public zr::ReaderWithBuffer
{
public:
    OverlappedFileReader(const OverlappedFile& source, zr::u64 start, zr::u64 end)
        : file(source),
          position(start),
          limit(end)
    {
    }

    const char* name() const noexcept override { return file.getPath(); }

protected:
    zr::u64 readRaw(void* destination, zr::u64 count) override;
    zr::u64 remainingRaw() const override { return limit - position; }
    zr::u64 skipRaw(zr::u64 count) override;

private:
    const OverlappedFile& file;
    zr::u64 position;
    const zr::u64 limit;
};
} // namespace zrvfs
