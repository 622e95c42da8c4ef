#include <platform/mapping.h>

#include <atomic>
#include <csignal>
#include <mutex>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

#include <platform/posix/calls.h>

namespace platform
{
namespace
{
/// A mapping as the signal handler sees it. Never freed, so that the handler may walk the list at any moment; one whose
/// mapping has ended serves the next.
struct Guard
{
    std::atomic<std::uintptr_t> begin{0};
    std::atomic<std::uintptr_t> end{0}; ///< 0 while it is free
    std::atomic<bool> isDamaged{false};
    Guard* next = nullptr;     ///< of all guards; fixed
    Guard* nextFree = nullptr; ///< under the lock
};

std::atomic<Guard*> allGuards{nullptr};
std::mutex freeLock;
Guard* freeGuards = nullptr;

struct sigaction handlerBefore;

/// Puts zeros in the place of what the file no longer has, from the page at `address` to the mapping's end.
bool fillGuarded(std::uintptr_t address) noexcept
{
    for (Guard* guard = allGuards.load(std::memory_order_acquire); guard; guard = guard->next)
    {
        const std::uintptr_t end = guard->end.load(std::memory_order_acquire);
        if (address >= end || address < guard->begin.load(std::memory_order_relaxed)) continue;
        const std::uintptr_t page = address & ~(static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)) - 1);
        guard->isDamaged = true;
        return mmap(reinterpret_cast<void*>(page), end - page, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1,
                    0) != MAP_FAILED;
    }
    return false;
}

void onBusError(int signal, siginfo_t* info, void* context)
{
    const int error = errno;
    if (info->si_code == BUS_ADRERR && fillGuarded(reinterpret_cast<std::uintptr_t>(info->si_addr)))
    {
        errno = error;
        return;
    }
    if (handlerBefore.sa_flags & SA_SIGINFO)
        handlerBefore.sa_sigaction(signal, info, context);
    else if (handlerBefore.sa_handler == SIG_DFL || handlerBefore.sa_handler == SIG_IGN)
        sigaction(SIGBUS, &handlerBefore, nullptr); // the access is repeated, and ends as it would have without us
    else
        handlerBefore.sa_handler(signal);
}

void installHandler() noexcept
{
    struct sigaction handler = {};
    handler.sa_sigaction = onBusError;
    handler.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&handler.sa_mask);
    sigaction(SIGBUS, nullptr, &handlerBefore); // known before ours can be called
    sigaction(SIGBUS, &handler, nullptr);
}

/// Null when there is no memory for one.
Guard* takeGuard() noexcept
{
    const std::lock_guard lock(freeLock);
    if (Guard* const guard = freeGuards)
    {
        freeGuards = guard->nextFree;
        return guard;
    }
    Guard* const guard = new (std::nothrow) Guard;
    if (!guard) return nullptr;
    guard->next = allGuards.load(std::memory_order_relaxed);
    allGuards.store(guard, std::memory_order_release);
    return guard;
}

void giveBack(Guard* guard) noexcept
{
    const std::lock_guard lock(freeLock);
    guard->nextFree = freeGuards;
    freeGuards = guard;
}
} // namespace

Error mapFile(FileHandle file, std::uint64_t size, Mapping& mapping) noexcept
{
    static const bool isInstalled = (installHandler(), true);
    static_cast<void>(isInstalled);
    Guard* const guard = takeGuard();
    if (!guard) return {ENOMEM};
    void* const memory = mmap(nullptr, size, PROT_READ, MAP_SHARED, static_cast<int>(file.value), 0);
    if (memory == MAP_FAILED)
    {
        const Error error = posix::lastError();
        giveBack(guard);
        return error;
    }
    const auto begin = reinterpret_cast<std::uintptr_t>(memory);
    guard->isDamaged = false;
    guard->begin = begin;
    guard->end = begin + size;
    mapping = {static_cast<const unsigned char*>(memory), size, guard};
    return {};
}

bool unmapFile(Mapping& mapping) noexcept
{
    Guard* const guard = static_cast<Guard*>(mapping.guard);
    const bool isWhole = !guard->isDamaged;
    guard->end = 0; // before another mapping can come to lie there
    munmap(const_cast<unsigned char*>(mapping.data), mapping.size);
    giveBack(guard);
    mapping = {};
    return isWhole;
}
} // namespace platform
