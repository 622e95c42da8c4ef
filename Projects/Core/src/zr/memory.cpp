#include <zr/memory.h>

#include <algorithm>
#include <atomic>
#include <cstdio>

#include <platform/files.h>
#include <platform/memory.h>

namespace
{
std::atomic<bool> outOfMemoryReported{false};
} // namespace

void* zr_malloc(std::size_t size)
{
    // The heap may answer a request for nothing with null, which must not look like exhaustion.
    void* result = std::malloc(std::max<std::size_t>(size, 1));
    if (!result) zr::outOfMemoryHandler("zr_malloc", static_cast<zr::i64>(size));
    platform::preferLargePages(result, size);
    return result;
}

void* zr_realloc(void* pointer, std::size_t size)
{
    void* result = std::realloc(pointer, std::max<std::size_t>(size, 1));
    if (!result) zr::outOfMemoryHandler("zr_realloc", static_cast<zr::i64>(size));
    platform::preferLargePages(result, size);
    return result;
}

void zr::outOfMemoryHandler(const char* function, i64 size)
{
    const bool first = !outOfMemoryReported.exchange(true);
    char line[256];
    const int length =
        std::snprintf(line, sizeof(line), "%s in %s for %lld bytes.\n", first ? "Out of memory" : "More out of memory",
                      function, static_cast<long long>(size));
    if (length > 0) platform::writeStandardError(line, std::min(static_cast<std::size_t>(length), sizeof(line) - 1));
    std::abort();
}
