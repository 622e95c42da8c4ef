#pragma once

#include <memory>
#include <mutex>

namespace zr
{
/// A lock that its holder may enter again; it is free after as many leaves. Fits `std::lock_guard` and
/// `std::condition_variable_any`. It can be used before and after the life of static objects.
class CriticalSection
{
public:
    void lock() { mutex.lock(); }
    bool try_lock() { return mutex.try_lock(); }
    void unlock() { mutex.unlock(); }

    /// In the child of a fork alone: the lock becomes free, though a thread that is no more may have held it.
    void forgetHolder() noexcept { std::construct_at(&mutex); }

private:
    std::recursive_mutex mutex;
};
} // namespace zr
