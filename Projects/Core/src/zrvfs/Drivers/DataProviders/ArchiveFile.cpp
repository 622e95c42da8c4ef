#include <zrvfs/Drivers/DataProviders/ArchiveFile.h>

#include <zrvfs/RealPath.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
ArchiveFile::ArchiveFile(std::string_view location, bool quiet) : path(location)
{
    const platform::Error error =
        withRealPath(path, [this](const char* real) { return platform::openForReading(real, false, file, bytes); });
    if (error && !quiet) reportFileError(path, error, "CreateFile(RO)");
}

ArchiveFile::~ArchiveFile()
{
    if (file) static_cast<void>(platform::closeFile(file));
}

zr::u64 ArchiveFile::readAt(zr::u64 offset, void* destination, zr::u64 count) const
{
    zr::u64 done;
    const platform::Error error = platform::readAt(file, offset, destination, count, done);
    if (error) reportFileError(path, error, "ReadFile(%lld)", static_cast<long long>(count));
    return done;
}
} // namespace zrvfs
