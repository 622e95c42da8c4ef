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
    // Only whole pages of the block: its neighbours on the heap are not ours to advise.
    const auto first = (reinterpret_cast<std::uintptr_t>(memory) + kPage - 1) / kPage * kPage;
    const auto last = (reinterpret_cast<std::uintptr_t>(memory) + size) / kPage * kPage;
    madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
}
} // namespace platform
