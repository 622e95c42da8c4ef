#include <zr/tasks/ProcessPool.h>

#include <platform/threads.h>

namespace zr
{
constinit std::atomic<u32> ProcessPool::forks{0};
const bool ProcessPool::countsForks = (platform::onForkedChild([] { forks.fetch_add(1); }), true);

ObjectPool& ProcessPool::make(Made* known)
{
    auto* const fresh = new Made{{elementSize, elementsPerChunk, label}, forks.load(), known};
    if (made.compare_exchange_strong(known, fresh, std::memory_order_acq_rel)) return fresh->pool;
    delete fresh; // another thread was faster
    return known->pool;
}
} // namespace zr
