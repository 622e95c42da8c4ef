#include <zrvfs/Drivers/DataProviders/OverlappedFile.h>

#include <algorithm>

#include <zrvfs/RealPath.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
OverlappedFile::~OverlappedFile()
{
    if (file()) static_cast<void>(platform::closeFile(file()));
}

bool OverlappedFile::open()
{
    if (file()) return true;
    const std::lock_guard guard(opening);
    if (file()) return true;
    platform::FileHandle opened;
    zr::u64 size = 0;
    const platform::Error error =
        withRealPath(path, [&](const char* real) { return platform::openForReading(real, false, opened, size); });
    if (error)
    {
        reportFileError(path, error, "CreateFile(OVERLAPPED)");
        return false;
    }
    bytes.store(size, std::memory_order_relaxed);
    handle.store(opened.value, std::memory_order_release);
    return true;
}

zr::u64 OverlappedFile::readAt(zr::u64 offset, void* destination, zr::u64 count) const
{
    if (!file()) return 0;
    zr::u64 done;
    if (const platform::Error error = platform::readAt(file(), offset, destination, count, done))
        reportFileError(path, error, "GetOverlappedResult(%lld)", static_cast<long long>(count));
    return done;
}

zr::u64 OverlappedFileReader::readRaw(void* destination, zr::u64 count)
{
    const zr::u64 done = file.readAt(position, destination, std::min(count, limit - position));
    position += done;
    return done;
}

zr::u64 OverlappedFileReader::skipRaw(zr::u64 count)
{
    const zr::u64 skipped = std::min(count, limit - position);
    position += skipped;
    return skipped;
}
} // namespace zrvfs
