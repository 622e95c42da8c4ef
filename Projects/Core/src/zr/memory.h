#pragma once

#include <cstdlib>

#include <zr/types.h>

/// Memory of `size` bytes, never null: when the heap has none, the OutOfMemoryHandler ends the process.
/// Released with plain `free`. A size of 0 gives memory too.
void* zr_malloc(std::size_t size);

/// `realloc` with the same promise. `pointer` may be null.
void* zr_realloc(void* pointer, std::size_t size);

namespace zr
{
/// Reports the exhaustion of memory and ends the process. `function` names the failing call, `size` is in bytes.
///
/// The first report says "Out of memory in %s for %lld bytes."; a failure on another thread, or within that report,
/// says "More out of memory in %s for %lld bytes." and ends the process too. Allocates nothing.
[[noreturn]] void outOfMemoryHandler(const char* function, i64 size);

/// The stateless allocator behind every core container.
template <class T>
class allocator
{
public:
    using value_type = T;

    allocator() noexcept = default;
    template <class U>
    allocator(const allocator<U>&) noexcept
    {
    }

    T* allocate(std::size_t count)
    {
        static_assert(alignof(T) <= alignof(std::max_align_t), "zr_malloc aligns no further");
        // The containers bound `count` by max_size(), so the product can't overflow.
        return static_cast<T*>(zr_malloc(count * sizeof(T)));
    }
    void deallocate(T* pointer, std::size_t) noexcept { std::free(pointer); }

    template <class U>
    bool operator==(const allocator<U>&) const noexcept
    {
        return true;
    }
};
} // namespace zr
