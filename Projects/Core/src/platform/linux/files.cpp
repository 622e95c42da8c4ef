#include <platform/files.h>

#include <fcntl.h>
#include <sys/stat.h>

#include <platform/posix/calls.h>

namespace platform
{
// The portable posix_fallocate is no substitute: where the file system can't reserve, it writes the room full itself,
// and it lengthens the file.
Error reserveSpace(FileHandle file, std::uint64_t size, bool& reserved) noexcept
{
    reserved = true;
    if (size == 0) return {}; // the system refuses to reserve nothing
    const int descriptor = static_cast<int>(file.value);
    const auto length = static_cast<off_t>(size);
    const Error error =
        posix::errorOf(posix::uninterrupted([=] { return fallocate(descriptor, FALLOC_FL_KEEP_SIZE, 0, length); }));
    if (!error) return {};
    reserved = false;
    if (error == Error{EOPNOTSUPP} || error == Error{EINVAL} || error == Error{ENOSYS}) return {};
    // A part may have been reserved, behind the end of the file; to set its size gives that back.
    struct stat status;
    if (fstat(descriptor, &status) == 0)
        static_cast<void>(setFileSize(file, static_cast<std::uint64_t>(status.st_size)));
    return error;
}
} // namespace platform
