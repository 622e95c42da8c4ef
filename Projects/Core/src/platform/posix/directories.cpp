#include <platform/directories.h>

#include <cstring>
#include <memory>

#include <dirent.h>

#include <platform/posix/calls.h>

namespace platform
{
namespace
{
struct Closer
{
    void operator()(DIR* directory) const noexcept { closedir(directory); }
};

NameKind kindOf(unsigned char type) noexcept
{
    switch (type)
    {
    case DT_REG:
        return NameKind::kFile;
    case DT_DIR:
        return NameKind::kDirectory;
    case DT_LNK:
    case DT_UNKNOWN:
        return NameKind::kUnknown;
    default:
        return NameKind::kOther;
    }
}
} // namespace

Error forEachName(const char* directory, void (*callback)(void* context, const char* name, NameKind kind),
                  void* context)
{
    const std::unique_ptr<DIR, Closer> open(opendir(directory));
    if (!open) return posix::lastError();
    for (;;)
    {
        errno = 0;
        const dirent* const entry = readdir(open.get());
        if (!entry) return posix::lastError(); // 0 at the end
        if (std::strcmp(entry->d_name, ".") == 0 || std::strcmp(entry->d_name, "..") == 0) continue;
        callback(context, entry->d_name, kindOf(entry->d_type));
    }
}
} // namespace platform
