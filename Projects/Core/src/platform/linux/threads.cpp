#include <platform/threads.h>

#include <cstring>

#include <pthread.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <platform/posix/calls.h>

namespace platform
{
using posix::errorOf;
using posix::lastError;

namespace
{
/// What the process itself knows of a thread. Initial-exec: these bytes exist as soon as the thread does, where the
/// usual model of a loaded module may ask the heap for them at their first use, in the middle of a report that there
/// is none.
struct Own
{
    const char* name = nullptr;
    std::uint32_t id = 0;
};
[[gnu::tls_model("initial-exec")]] constinit thread_local Own own;

[[maybe_unused]] const int forkHandler = (onForkedChild([] { own.id = 0; }), 0);

/// The nice value that is normal in this process.
int normalNice() noexcept
{
    return getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
}

void setNice(int value) noexcept
{
    static_cast<void>(setpriority(PRIO_PROCESS, currentThreadId(), value));
}

void setPolicy(int policy) noexcept
{
    const sched_param none{};
    static_cast<void>(sched_setscheduler(0, policy, &none));
}

/// <linux/ioprio.h> is not everywhere: the class stands above the level's 13 bits.
Error setIoClass(int ioClass) noexcept
{
    constexpr int kThisThread = 1;
    return errorOf(static_cast<int>(syscall(SYS_ioprio_set, kThisThread, 0, ioClass << 13)));
}
} // namespace

std::uint32_t currentThreadId() noexcept
{
    if (own.id == 0) own.id = static_cast<std::uint32_t>(syscall(SYS_gettid));
    return own.id;
}

void nameCurrentThread(const char* name) noexcept
{
    own.name = name;
    if (!name) return;
    constexpr std::size_t kKernelBytes = 15;
    char cut[kKernelBytes + 1] = {};
    std::size_t length = strnlen(name, kKernelBytes + 1);
    if (length > kKernelBytes)
    {
        length = kKernelBytes;
        while (length > 0 && (name[length] & 0xC0) == 0x80) // not within a character
            --length;
    }
    std::memcpy(cut, name, length);
    pthread_setname_np(pthread_self(), cut);
}

const char* currentThreadName() noexcept
{
    return own.name;
}

void setThreadPriority(std::uint32_t priority) noexcept
{
    switch (priority)
    {
    case 0:
        setPolicy(SCHED_IDLE);
        break;
    case 1:
        setPolicy(SCHED_BATCH);
        setNice(normalNice() + 5);
        break;
    case 2:
        setNice(normalNice());
        break;
    case 3:
        setNice(normalNice() - 5);
        break;
    case 4:
        setNice(normalNice() - 15);
        break;
    default:
        break;
    }
}

Error enterBackgroundMode() noexcept
{
    constexpr int kIdle = 3;
    return setIoClass(kIdle);
}

Error leaveBackgroundMode() noexcept
{
    constexpr int kNone = 0;
    return setIoClass(kNone);
}

void setThreadAffinity(std::uint64_t mask) noexcept
{
    cpu_set_t set;
    CPU_ZERO(&set);
    for (unsigned processor = 0; processor < 64; ++processor)
        if (mask >> processor & 1) CPU_SET(processor, &set);
    static_cast<void>(sched_setaffinity(0, sizeof(set), &set));
}

void setIdealProcessor(std::uint32_t processor) noexcept
{
    cpu_set_t allowed;
    if (processor >= CPU_SETSIZE || sched_getaffinity(0, sizeof(allowed), &allowed) != 0) return;
    if (!CPU_ISSET(processor, &allowed)) return;
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(processor, &one);
    // The scheduler knows no wish, but it has a liking for the processor that a thread ran on last.
    if (sched_setaffinity(0, sizeof(one), &one) == 0) sched_setaffinity(0, sizeof(allowed), &allowed);
}

void setMemoryPriority(std::uint32_t) noexcept {}

void setPowerThrottling(std::uint32_t) noexcept {}

std::uint32_t processorCount() noexcept
{
    // Of the process, that is of its first thread: the caller's own mask may be narrower.
    cpu_set_t set;
    if (sched_getaffinity(getpid(), sizeof(set), &set) == 0) return static_cast<std::uint32_t>(CPU_COUNT(&set));
    static const long online = sysconf(_SC_NPROCESSORS_ONLN); // more processors than the set has room for
    return online > 0 ? static_cast<std::uint32_t>(online) : 1;
}

void pauseProcessor() noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    __builtin_ia32_pause();
#elif defined(__aarch64__)
    __asm__ __volatile__("yield");
#endif
}
} // namespace platform
