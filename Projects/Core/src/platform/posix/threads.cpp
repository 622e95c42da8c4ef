#include <platform/threads.h>

#include <atomic>
#include <csignal>
#include <initializer_list>

#include <pthread.h>
#include <sched.h>

#include <platform/waiting.h>

namespace platform
{
namespace
{
static_assert(sizeof(pthread_t) == sizeof(std::uintptr_t));

/// On the starting thread's stack until the new thread has told its id.
struct Start
{
    void (*entry)(void*);
    void* context;
    std::atomic<std::uint32_t> id{0};

    const std::uint32_t* idWord() const noexcept { return reinterpret_cast<const std::uint32_t*>(&id); }
};

void* run(void* argument) noexcept
{
    auto& start = *static_cast<Start*>(argument);
    void (*const entry)(void*) = start.entry;
    void* const context = start.context;
    const std::uint32_t* const word = start.idWord();
    start.id.store(currentThreadId(), std::memory_order_release); // the other thread may end `start` from here on
    wakeOnWord(word, 1);
    entry(context);
    return nullptr;
}

/// Every signal but those that a thread raises by its own fault.
sigset_t foreignSignals() noexcept
{
    sigset_t set;
    sigfillset(&set);
    for (const int own : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&set, own);
    return set;
}
} // namespace

Error startThread(void (*entry)(void*), void* context, ThreadHandle& thread) noexcept
{
    Start start{entry, context};
    // A thread inherits its creator's mask; set later, a signal could still come in between.
    const sigset_t blocked = foreignSignals();
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &blocked, &before);
    pthread_t created;
    const int error = pthread_create(&created, nullptr, run, &start);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (error) return {error};
    while (start.id.load(std::memory_order_acquire) == 0)
        waitOnWord(start.idWord(), 0, kForever);
    thread = {created, start.id.load(std::memory_order_relaxed)};
    return {};
}

Error joinThread(ThreadHandle thread) noexcept
{
    const int error = pthread_join(thread.value, nullptr);
    if (error) pthread_detach(thread.value);
    return {error};
}

void yieldProcessor() noexcept
{
    sched_yield();
}

void onForkedChild(void (*action)()) noexcept
{
    pthread_atfork(nullptr, nullptr, action);
}
} // namespace platform
