#pragma once

#include <cstdint>

#include <platform/error.h>

/// What the core needs of the system's threads. Nothing here throws or logs.
namespace platform
{
/// A thread that was started here. All ones while no thread is attached; belongs to one thread at a time.
struct ThreadHandle
{
    std::uintptr_t value = ~std::uintptr_t{0};
    std::uint32_t id = 0; ///< as `currentThreadId` gives it on the thread

    explicit operator bool() const noexcept { return value != ~std::uintptr_t{0}; }
};

/// Starts a thread that calls `entry(context)`, with the system's default stack and with every signal blocked that
/// is sent to a process: these stay with the host's own threads. Comes back when the thread's id is known.
///
/// thread  written only on success; ends with `joinThread`, or is left alone (in the child of a fork)
Error startThread(void (*entry)(void*), void* context, ThreadHandle& thread) noexcept;

/// Waits for the thread's end without limit and gives its handle back. On failure (a thread that waits for itself)
/// the handle is gone too, and the thread ends by itself.
Error joinThread(ThreadHandle thread) noexcept;

/// The system's number of the calling thread; cheap after the first call.
std::uint32_t currentThreadId() noexcept;

/// Names the calling thread: `name` in full within the process, as many bytes as it takes for the system's own tools.
/// Keeps the pointer, so the text (zero-terminated UTF-8) must live as long as the thread, or until null takes it back.
void nameCurrentThread(const char* name) noexcept;

/// The name that `nameCurrentThread` gave to the calling thread; null when it gave none, whatever the system's own
/// name for it is. Allocates nothing.
const char* currentThreadName() noexcept;

/// The scheduling priority of the calling thread: 0 idle, 1 below normal, 2 normal, 3 above normal, 4 time critical;
/// other values change nothing. Normal is the nice value of the process. The system may refuse; then nothing changes.
void setThreadPriority(std::uint32_t priority) noexcept;

/// Background mode of the calling thread, beyond its priority: its reads and writes of files stand behind everyone
/// else's. Any thread may enter it and leave it again.
Error enterBackgroundMode() noexcept;
Error leaveBackgroundMode() noexcept;

/// The processors that the calling thread may run on, one bit each from processor 0 on.
void setThreadAffinity(std::uint64_t mask) noexcept;

/// The processor that the calling thread should run on when it can: it is moved there now, and the scheduler is free
/// to move it on.
void setIdealProcessor(std::uint32_t processor) noexcept;

/// Memory priority 0 to 5 and power throttling 0 to 2 of the calling thread: requests that a system without such
/// settings ignores.
void setMemoryPriority(std::uint32_t priority) noexcept;
void setPowerThrottling(std::uint32_t choice) noexcept;

/// How many processors the process may use; at least 1.
std::uint32_t processorCount() noexcept;

/// Lets another thread have the processor.
void yieldProcessor() noexcept;

/// A moment's rest within a spin, without leaving the processor.
void pauseProcessor() noexcept;

/// Has `action` called in the child of every later fork, before fork comes back there. The other threads of the
/// process don't exist there, and what they held stays held: the action forgets it. Actions are called in the order in
/// which they were handed over, and may use only what is safe in a signal handler.
void onForkedChild(void (*action)()) noexcept;
} // namespace platform
