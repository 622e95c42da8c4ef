#include <zr/memory.h>

#include <algorithm>
#include <atomic>

#include <platform/files.h>
#include <platform/memory.h>
#include <zr/format.h>
#include <zr/log/Control.h>
#include <zr/log/Log.h>

namespace
{
std::atomic<bool> outOfMemoryReported{false};

constexpr zr::i64 kPatience = 2'000'000'000; // nanoseconds for the log's worker to write what it has
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
    const char* const format =
        first ? "Out of memory in %s for %lld bytes." : "More out of memory in %s for %lld bytes.";
    const long long bytes = size;
    const bool logged = log::write(log::kCoreTag, first ? log::kAlert : log::kError, format, function, bytes);
    // The log loses what comes while it is busy, perhaps with the very message that found no memory.
    if (!logged || !log::flush(kPatience))
    {
        char text[256];
        const i32 wanted = formatText(text, sizeof(text) - 1, format, function, bytes);
        const auto length = static_cast<std::size_t>(std::min<i32>(wanted, sizeof(text) - 2));
        text[length] = '\n';
        platform::writeStandardError(text, length + 1);
    }
    std::abort();
}
