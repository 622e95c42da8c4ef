#include <platform/module.h>

#include <cstring>

#include <dlfcn.h>

namespace platform
{
std::size_t getModulePath(const void* address, char* out, std::size_t capacity) noexcept
{
    Dl_info info;
    if (dladdr(address, &info) == 0 || !info.dli_fname) return 0;
    const std::size_t length = std::strlen(info.dli_fname);
    if (length >= capacity) return 0;
    std::memcpy(out, info.dli_fname, length + 1);
    return length;
}
} // namespace platform
