#include <zr/tasks/pools.h>

#include <platform/threads.h>
#include <zr/SharedGroupBarrier.h>
#include <zr/tasks/MainTask.h>
#include <zr/tasks/timer.h>

namespace zr
{
namespace
{
struct Pools
{
    ObjectPool barriers{sizeof(SharedGroupBarrier), 2048, "Projects/Core/src/zr/SharedGroupBarrier"};
    ObjectPool mainTasks{sizeof(MainTask), 1024, "Projects/Core/src/zr/tasks/MainTask"};
    ObjectPool timerEntries{sizeof(TimerEntry), 128, "Projects/Core/src/zr/tasks/timer"};
};

/// In the child of a fork the parent's pools may be in the middle of a step of a thread that isn't there. They are left
/// alone, and new ones take their place at the first use.
std::atomic<Pools*> current{nullptr};

Pools* makePools()
{
    static const bool isRegistered = (platform::onForkedChild([] { current = nullptr; }), true);
    static_cast<void>(isRegistered);
    auto* made = new Pools;
    Pools* other = nullptr;
    if (current.compare_exchange_strong(other, made)) return made;
    delete made;
    return other;
}

/// Never destroyed: a record may be given back by a static destructor.
Pools& pools()
{
    Pools* const known = current.load(std::memory_order_acquire);
    return known ? *known : *makePools();
}
} // namespace

ObjectPool& barrierPool()
{
    return pools().barriers;
}

ObjectPool& mainTaskPool()
{
    return pools().mainTasks;
}

ObjectPool& timerEntryPool()
{
    return pools().timerEntries;
}
} // namespace zr
