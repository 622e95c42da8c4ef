#include <zr/tasks/ObjectPool.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include <zr/memory.h>

namespace zr
{
namespace
{
/// What the first word of a free element holds once its pool is gone.
constexpr u64 kFreedMark = 0xdeadbeeffeeddeadu;

/// A count that one thread writes and any may read.
void add(std::atomic<u32>& count, u32 change) noexcept
{
    count.store(count.load(std::memory_order_relaxed) + change, std::memory_order_relaxed);
}
} // namespace

ObjectPool::ObjectPool(u32 size, u32 perChunk, const char* poolLabel, u32 mask)
    : alignmentMask(std::max(mask, u32{alignof(Element) - 1})),
      elementSize((std::max(size, u32{sizeof(Element)}) + alignmentMask) & ~alignmentMask),
      elementsPerChunk(std::max(perChunk, 1u)),
      label(poolLabel)
{
}

ObjectPool::~ObjectPool()
{
    for (Slot& slot : slots)
    {
        mark(slot.loaded);
        mark(slot.spare);
    }
    while (Element* const batch = batches.pop())
        mark(batch);
    while (Chunk* const chunk = chunks.pop())
        std::free(chunk);
}

void ObjectPool::mark(Element* element) noexcept
{
    while (element)
    {
        Element* const next = element->inBatch;
        std::memcpy(static_cast<void*>(element), &kFreedMark, sizeof(kFreedMark));
        element = next;
    }
}

void* ObjectPool::acquire()
{
    const u32 index = threadIndex();
    if (index == kNoThreadIndex)
    {
        Element* const first = popBatch();
        if (first->inBatch) pushBatch(first->inBatch, first->size - 1);
        inUseWithoutSlot.fetch_add(1, std::memory_order_relaxed);
        return first;
    }
    Slot& slot = slots[index];
    if (!slot.loaded) refill(slot);
    Element* const element = slot.loaded;
    slot.loaded = element->inBatch;
    // The next call reads its link: it may come out of the cache of another processor, or out of none.
    __builtin_prefetch(slot.loaded, 1);
    --slot.loadedCount;
    add(slot.inUse, 1);
    return element;
}

void ObjectPool::release(void* memory) noexcept
{
    Element* const element = new (memory) Element;
    const u32 index = threadIndex();
    if (index == kNoThreadIndex)
    {
        inUseWithoutSlot.fetch_sub(1, std::memory_order_relaxed);
        pushBatch(element, 1);
        return;
    }
    Slot& slot = slots[index];
    element->inBatch = slot.loaded;
    slot.loaded = element;
    add(slot.inUse, ~0u);
    if (++slot.loadedCount < kBatch) return;
    if (slot.spare) pushBatch(slot.spare, kBatch);
    slot.spare = std::exchange(slot.loaded, nullptr);
    slot.loadedCount = 0;
}

u32 ObjectPool::getInUseCount() const noexcept
{
    u32 sum = inUseWithoutSlot.load(std::memory_order_relaxed);
    for (const Slot& slot : slots)
        sum += slot.inUse.load(std::memory_order_relaxed);
    return sum;
}

void ObjectPool::refill(Slot& slot)
{
    if (slot.spare)
    {
        slot.loaded = std::exchange(slot.spare, nullptr);
        slot.loadedCount = kBatch;
        return;
    }
    slot.loaded = popBatch();
    slot.loadedCount = slot.loaded->size;
}

ObjectPool::Element* ObjectPool::popBatch()
{
    Element* const batch = batches.pop();
    return batch ? batch : grow();
}

void ObjectPool::pushBatch(Element* first, u32 size) noexcept
{
    first->size = size;
    batches.push(first);
}

ObjectPool::Element* ObjectPool::grow()
{
    const std::size_t bytes = std::size_t{elementSize} * elementsPerChunk;
    char* const block = static_cast<char*>(zr_malloc(sizeof(Chunk) + alignmentMask + 1 + bytes));
    const auto behindHead = reinterpret_cast<std::uintptr_t>(block) + sizeof(Chunk);
    char* const elements = block + sizeof(Chunk) + ((alignmentMask + 1 - (behindHead & alignmentMask)) & alignmentMask);
    chunks.push(new (block) Chunk);
    chunkCount.fetch_add(1, std::memory_order_relaxed);

    Element* mine = nullptr;
    for (u32 start = 0; start < elementsPerChunk; start += kBatch)
    {
        const u32 end = std::min(start + kBatch, elementsPerChunk);
        Element* first = nullptr;
        for (u32 i = end; i-- > start;)
        {
            Element* const element = new (elements + std::size_t{i} * elementSize) Element;
            element->inBatch = first;
            first = element;
        }
        first->size = end - start;
        if (start == 0)
            mine = first;
        else
            batches.push(first);
    }
    return mine;
}
} // namespace zr
