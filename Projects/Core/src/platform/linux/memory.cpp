#include <platform/memory.h>

#include <cstdint>

#include <sys/mman.h>

namespace platform
{
namespace
{
constexpr std::uintptr_t kPage = 4096;
constexpr std::uintptr_t kLargePage = std::uintptr_t{2} << 20;
} // namespace

void preferLargePages(void* memory, std::size_t size) noexcept
{
    if (size < 2 * kLargePage) return;
    // With the rest of the first and last page: advice for a part of a mapping would cut the mapping in two, and the
    // heap could no longer grow it in place. For what else lies on these pages the hint means nothing.
    const auto first = reinterpret_cast<std::uintptr_t>(memory) / kPage * kPage;
    const auto last = (reinterpret_cast<std::uintptr_t>(memory) + size + kPage - 1) / kPage * kPage;
    madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}
} // namespace platform
