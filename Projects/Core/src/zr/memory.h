#pragma once

#include <zr/types.h>

/// Memory of `size` bytes, never null: when the heap has none, the OutOfMemoryHandler ends the process.
/// Released with plain `free`.
void* zr_malloc(std::size_t size);

/// `realloc` with the same promise. `pointer` may be null.
void* zr_realloc(void* pointer, std::size_t size);

namespace zr
{
/// Reports the exhaustion of memory and does not come back. `function` names the failing call.
[[noreturn]] void outOfMemoryHandler(const char* function, i64 size);

/// The stateless allocator behind every core container.
template <class T> class allocator
{
public:
    using value_type = T;

    allocator() noexcept = default;
    template <class U> allocator(const allocator<U>&) noexcept {}

    T* allocate(std::size_t count)
    {
        // The containers bound `count` by max_size(), so the product can't overflow.
        return static_cast<T*>(zr_malloc(count * sizeof(T)));
    }
    void deallocate(T* pointer, std::size_t) noexcept { release(pointer); }

    template <class U> bool operator==(const allocator<U>&) const noexcept { return true; }

private:
    static void release(void* pointer) noexcept;
};

void releaseMemory(void* pointer) noexcept;

template <class T> void allocator<T>::release(void* pointer) noexcept
{
    releaseMemory(pointer);
}
} // namespace zr
