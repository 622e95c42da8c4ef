#include <platform/console.h>

#include <atomic>
#include <csignal>
#include <cstring>

#include <poll.h>
#include <pthread.h>
#include <time.h>
#include <unistd.h>

#include <platform/clock.h>
#include <platform/debugger.h>
#include <platform/posix/calls.h>
#include <platform/posix/terminal.h>

namespace platform
{
using posix::Terminal;
using posix::uninterrupted;

namespace
{
/// Keeps the signal of a reader that is gone from the process; what is sent to it by others still arrives.
class NoPipeSignal
{
public:
    NoPipeSignal() noexcept
    {
        sigset_t pipeSignal = only();
        pthread_sigmask(SIG_BLOCK, &pipeSignal, &before);
        // One that waits already is not ours to take away.
        if (sigismember(&before, SIGPIPE)) sigpending(&pending);
    }
    NoPipeSignal(const NoPipeSignal&) = delete;
    NoPipeSignal& operator=(const NoPipeSignal&) = delete;
    ~NoPipeSignal()
    {
        if (raised && !(sigismember(&before, SIGPIPE) && sigismember(&pending, SIGPIPE)))
        {
            const sigset_t pipeSignal = only();
            const timespec now{};
            uninterrupted([&] { return sigtimedwait(&pipeSignal, nullptr, &now); });
        }
        if (!sigismember(&before, SIGPIPE)) pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }

    void readerIsGone() noexcept { raised = true; }

private:
    static sigset_t only() noexcept
    {
        sigset_t set;
        sigemptyset(&set);
        sigaddset(&set, SIGPIPE);
        return set;
    }

    sigset_t before;
    sigset_t pending;
    bool raised = false;
};

/// Whether there is room again in a full stream before `deadline`, in monotonic nanoseconds.
bool waitForRoom(int descriptor, std::uint64_t deadline) noexcept
{
    const std::uint64_t now = monotonicNanoseconds();
    if (now >= deadline) return false;
    pollfd stream{descriptor, POLLOUT, 0};
    return poll(&stream, 1, static_cast<int>((deadline - now) / 1'000'000) + 1) >= 0 || errno == EINTR;
}

/// When a debugger is attached and standard error is not its terminal, to that terminal.
void writeToDebuggersTerminal(const char* text, std::size_t size) noexcept
{
    static std::atomic<time_t> lastLook{0};
    static std::atomic<bool> attached{false};
    const time_t now = time(nullptr); // the cheapest clock; what it does when somebody sets it is no harm
    if (now != lastLook.load(std::memory_order_relaxed))
    {
        lastLook.store(now, std::memory_order_relaxed);
        attached.store(isDebuggerAttached(), std::memory_order_relaxed);
    }
    if (!attached.load(std::memory_order_relaxed) || isTerminal(standardError())) return;
    if (const Terminal terminal; terminal) writeLine({terminal.get()}, text, size);
}

std::atomic<DebuggerStream> debuggerStream{writeToDebuggersTerminal};
} // namespace

FileHandle standardError() noexcept
{
    return {STDERR_FILENO};
}

bool isTerminal(FileHandle file) noexcept
{
    return isatty(static_cast<int>(file.value)) == 1;
}

std::size_t writeLine(FileHandle file, const char* line, std::size_t size) noexcept
{
    const int descriptor = static_cast<int>(file.value);
    NoPipeSignal guard;
    std::uint64_t deadline = 0;
    std::size_t written = 0;
    while (written < size)
    {
        const ssize_t count = write(descriptor, line + written, size - written);
        if (count > 0)
            written += static_cast<std::size_t>(count);
        else if (count == -1 && errno == EINTR)
            continue;
        else if (count == -1 && errno == EAGAIN && written > 0)
        {
            if (deadline == 0) deadline = monotonicNanoseconds() + 1'000'000'000;
            if (!waitForRoom(descriptor, deadline)) break;
        }
        else
        {
            if (count == -1 && errno == EPIPE) guard.readerIsGone();
            break;
        }
    }
    return written;
}

const char* colourSequence(std::uint32_t attribute) noexcept
{
    // The order of the three colours' bits is the other way round here.
    static constexpr const char* kSequences[16] = {
        "\033[30m", "\033[34m", "\033[32m", "\033[36m", "\033[31m", "\033[35m", "\033[33m", "\033[37m",
        "\033[90m", "\033[94m", "\033[92m", "\033[96m", "\033[91m", "\033[95m", "\033[93m", "\033[97m",
    };
    return kSequences[attribute & 15];
}

const char* plainSequence() noexcept
{
    return "\033[0m";
}

void writeDebugger(const char* text, std::size_t size) noexcept
{
    debuggerStream.load(std::memory_order_acquire)(text, size);
}

DebuggerStream setDebuggerStream(DebuggerStream stream) noexcept
{
    return debuggerStream.exchange(stream ? stream : writeToDebuggersTerminal, std::memory_order_acq_rel);
}

bool askOnTerminal(std::span<const std::string_view> parts, char* answer, std::size_t capacity) noexcept
{
    const Terminal terminal;
    if (!terminal) return false;
    for (const std::string_view part : parts)
        if (writeLine({terminal.get()}, part.data(), part.size()) < part.size()) return false;
    std::size_t length = 0;
    for (;;)
    {
        char character;
        if (uninterrupted([&] { return read(terminal.get(), &character, 1); }) != 1) return false;
        if (character == '\n' || character == '\r') break;
        if (length + 1 < capacity) answer[length++] = character;
    }
    answer[length] = '\0';
    return true;
}
} // namespace platform
