#pragma once

#include <platform/files.h>
#include <zr/tasks/ObjectPool.h>
#include <zrvfs/IDriver.h>

namespace zrvfs
{
/// A path as a file object shows it: cut to 260 bytes, zero-terminated.
class FileName
{
public:
    FileName() = default;
    explicit FileName(std::string_view name);

    const char* c_str() const noexcept { return text; }
    std::string_view view() const noexcept { return {text, length}; }

private:
    zr::u16 length = 0;
    char text[261] = {};
};

/// A file of the real file system. What fails is logged.
class WinFileRaw final : public IFile
{
public:
    /// Opens a regular file for reading, by any path, virtual or not.
    ///
    /// driver  kept alive while the file is open; may be null
    /// quiet   logs nothing when it can't be opened
    static FilePtr openForReading(std::string_view path, const DriverRef& driver, std::string_view realName,
                                  bool quiet);
    /// Takes over an open file.
    static FilePtr make(platform::FileHandle handle, std::string_view name);

    const char* name() const noexcept override { return fileName.c_str(); }
    const char* realName() const noexcept override { return fileRealName.c_str(); }
    zr::u64 read(void* destination, zr::u64 count) override;
    zr::u64 write(const void* source, zr::u64 count) override;
    zr::u64 tell() override;
    bool seek(zr::u64 position) override;
    zr::u64 size() override;
    zr::BufferRef toBuffer() override;
    void destroy() noexcept override;
    bool skip(zr::u64 count) override;

private:
    friend class zr::ObjectPool;
    WinFileRaw(platform::FileHandle file, const DriverRef& keptDriver, std::string_view name,
               std::string_view realName);
    ~WinFileRaw() override;

    platform::FileHandle handle;
    DriverRef driver;
    FileName fileName;
    FileName fileRealName;
};
} // namespace zrvfs
