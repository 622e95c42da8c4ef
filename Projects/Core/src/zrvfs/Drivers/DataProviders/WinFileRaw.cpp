#include <zrvfs/Drivers/DataProviders/WinFileRaw.h>

#include <algorithm>
#include <limits>

#include <zr/SharedBuffer.h>
#include <zr/tasks/ProcessPool.h>
#include <zrvfs/RealPath.h>
#include <zrvfs/fileErrors.h>

namespace zrvfs
{
namespace
{
constinit zr::ProcessPool pool{sizeof(WinFileRaw), 256, "Projects/Core/src/zrvfs/Drivers/DataProviders/WinFileRaw"};
} // namespace

FileName::FileName(std::string_view name) : length(static_cast<zr::u16>(std::min(name.size(), sizeof(text) - 1)))
{
    std::copy_n(name.data(), length, text);
}

WinFileRaw::WinFileRaw(platform::FileHandle file, const DriverRef& keptDriver, std::string_view name,
                       std::string_view realName)
    : handle(file),
      driver(keptDriver),
      fileName(name),
      fileRealName(realName)
{
}

WinFileRaw::~WinFileRaw()
{
    static_cast<void>(platform::closeFile(handle));
}

void WinFileRaw::destroy() noexcept
{
    pool.destroy(this);
}

FilePtr WinFileRaw::openForReading(std::string_view path, const DriverRef& driver, std::string_view realName,
                                   bool quiet)
{
    platform::FileHandle file;
    zr::u64 size;
    const platform::Error error =
        withRealPath(path, [&](const char* real) { return platform::openForReading(real, true, file, size); });
    if (!error) return FilePtr(pool.create<WinFileRaw>(file, driver, path, realName));
    if (!quiet) reportFileError(path, error, "CreateFile(RO)");
    return nullptr;
}

FilePtr WinFileRaw::make(platform::FileHandle handle, std::string_view name)
{
    return FilePtr(pool.create<WinFileRaw>(handle, nullptr, name, ""));
}

zr::u64 WinFileRaw::read(void* destination, zr::u64 count)
{
    zr::u64 done;
    const platform::Error error = platform::readNext(handle, destination, count, done);
    if (!error) return done;
    reportFileError(fileName.view(), error, "ReadFile(%lld)", static_cast<long long>(count));
    return 0;
}

zr::u64 WinFileRaw::write(const void* source, zr::u64 count)
{
    std::size_t done;
    const platform::Error error = platform::writeAll(handle, source, count, done);
    if (!error) return done;
    reportFileError(fileName.view(), error, "WriteFile(%lld)", static_cast<long long>(count));
    return 0;
}

zr::u64 WinFileRaw::tell()
{
    zr::u64 position = 0;
    if (const platform::Error error = platform::getPosition(handle, position))
        reportFileError(fileName.view(), error, "SetFilePointerEx(+0)");
    return position;
}

bool WinFileRaw::seek(zr::u64 position)
{
    const platform::Error error = platform::setPosition(handle, position);
    if (error) reportFileError(fileName.view(), error, "SetFilePointerEx(%lld)", static_cast<long long>(position));
    return !error;
}

bool WinFileRaw::skip(zr::u64 count)
{
    const platform::Error error = platform::movePosition(handle, static_cast<zr::i64>(count));
    if (error) reportFileError(fileName.view(), error, "SetFilePointerEx(%lld)", static_cast<long long>(count));
    return !error;
}

zr::u64 WinFileRaw::size()
{
    zr::u64 bytes = 0;
    if (const platform::Error error = platform::getFileSize(handle, bytes))
        reportFileError(fileName.view(), error, "GetFileSizeEx()");
    return bytes;
}

zr::BufferRef WinFileRaw::toBuffer()
{
    const zr::u64 position = tell();
    const zr::u64 bytes = size();
    zr::RefPtr<zr::SharedBuffer> buffer = zr::SharedBuffer::tryCreate(bytes);
    if (!buffer || !seek(0)) return nullptr;
    const bool isWhole = read(buffer->data(), bytes) == bytes;
    return seek(position) && isWhole ? zr::BufferRef(buffer) : nullptr;
}
} // namespace zrvfs
