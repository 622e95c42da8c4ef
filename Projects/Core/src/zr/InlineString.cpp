#include <zr/InlineString.h>

namespace zr
{
namespace
{
/// The capacity of a heap block for `wanted` characters.
u64 grownCapacity(u64 wanted)
{
    // No heap has so much; the cast and the terminator's place below stay in range.
    constexpr u64 kTooMuch = u64{1} << 62;
    if (wanted >= kTooMuch) outOfMemoryHandler("zr_malloc", static_cast<i64>(wanted));
    return static_cast<u64>(static_cast<f32>(wanted) * 1.8f + 1.0f);
}
} // namespace

void InlineStringBase::reserve(u64 wanted)
{
    if (wanted <= capacity()) return;
    const u64 grown = grownCapacity(wanted);
    if (data == inlinePtr)
    {
        heapPtr = static_cast<char*>(zr_malloc(static_cast<std::size_t>(grown + 1)));
        std::memcpy(heapPtr, data, static_cast<std::size_t>(length + 1));
    }
    else
        heapPtr = static_cast<char*>(zr_realloc(heapPtr, static_cast<std::size_t>(grown + 1)));
    heapCapacity = grown;
    data = heapPtr;
}

void InlineStringBase::append(std::string_view text)
{
    if (text.empty()) return;
    // Growing moves the characters; a text within them moves along.
    const bool within = text.data() >= data && text.data() <= data + length;
    const std::ptrdiff_t offset = within ? text.data() - data : 0;
    reserve(length + text.size());
    std::memmove(data + length, within ? data + offset : text.data(), text.size());
    setLength(length + text.size());
}

void InlineStringBase::take(InlineStringBase& other) noexcept
{
    clear();
    if (other.data == other.inlinePtr)
    {
        append(other.view());
        other.clear();
        return;
    }
    std::free(heapPtr);
    heapPtr = std::exchange(other.heapPtr, nullptr);
    heapCapacity = std::exchange(other.heapCapacity, 0);
    data = heapPtr;
    length = other.length;
    other.data = other.inlinePtr;
    other.clear();
}
} // namespace zr
