#pragma once

#include <span>
#include <string_view>

#include <zr/types.h>

namespace zrvfs
{
/// Writes a whole real file: creates it, or replaces the content of the one that is there, and writes `parts`, one
/// behind the other. An old file stays the same file, with its rights, whatever names and links lead to it.
///
/// path      UTF-8; one that begins with "/" is virtual and gives false, as the virtual tree is read-only
/// parts     at most 0xFFFFFFFF bytes, the 32-bit count of a file write; more give false before anything is touched
/// quiet     saves one of the two lines about a file that cannot be opened; what the system refused is logged in any
/// case returns   whether every byte was written and the system took them
///
/// When there is no room for the new bytes, on the disk, in a quota or below the process's limit of a file's size, the
/// old file stays as it was. It is lost only if the disk itself fails, or the file system can't reserve room and then
/// has none. A new file that could not be written whole is removed.
///
/// Only regular files are written: a directory, a pipe or a device gives false. Never throws, never blocks on a pipe.
bool writeWholeFile(std::string_view path, std::span<const std::span<const zr::u8>> parts, bool quiet);

/// The same with one part, of `size` bytes from `data` on.
bool writeWholeFile(std::string_view path, const void* data, zr::u64 size, bool quiet);
} // namespace zrvfs
