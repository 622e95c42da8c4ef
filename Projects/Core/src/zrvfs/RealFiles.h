#pragma once

#include <string_view>

#include <zr/MemBuffer.h>
#include <zrvfs/IDriver.h>

/// Real files, by paths that are relative to the working directory; those that begin with "/" are virtual and refused
/// where that is said. Reading finds a path whatever its capitals: exactly as given first, then component by component.
namespace zrvfs
{
enum class OpenMode : zr::u32
{
    kRead = 0,
    kRewrite = 1, ///< makes the file, or empties the one that is there
    kAppend = 2,
};

/// Opens a regular file. Null, and logged unless `quiet`, for a virtual path, for any other mode and when the system
/// can't; what the system refuses of a file to write is logged in any case.
FilePtr openRealFile(std::string_view path, zr::u32 mode, bool quiet);

/// The whole content: below 1 MiB a copy, otherwise a mapping. Null when there is no such file or it can't be read.
///
/// found     whether there was a file to open
/// forceMap  whether small files are mapped too; an empty one gives the empty buffer
zr::BufferRef readRealFile(std::string_view path, bool& found, bool forceMap);

/// As `readRealFile`, but refuses virtual paths and logs a failure unless `quiet`. The content of a file below 1 MiB
/// goes into `buffer` if that isn't null; nobody else may hold it.
zr::BufferRef readRealFileInto(std::string_view path, const zr::RefPtr<zr::MemBuffer>& buffer, bool quiet);

/// As `readRealFile`; logs a failure unless `quiet`.
zr::BufferRef loadRealFile(std::string_view path, bool quiet);

/// False when nothing stands at the path, or what stands there is neither file nor directory. Times before 1970 are 0.
bool statRealPath(std::string_view path, FileStat& out);

using RealEntryCallback = void (*)(void* context, std::string_view directory, std::string_view name,
                                   const FileStat& stat);

/// Calls back for the files and directories that lie directly in a directory, by name; hidden ones, whose name begins
/// with a dot, and what is neither, are left out. True if the directory could be read.
bool enumerateRealDir(std::string_view path, RealEntryCallback callback, void* context);
} // namespace zrvfs
