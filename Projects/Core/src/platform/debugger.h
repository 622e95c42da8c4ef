#pragma once

#include <cstddef>

namespace platform
{
/// Whether a debugger is attached to the process now. Reads a file: not for every line of a log.
bool isDebuggerAttached() noexcept;

/// The program that `startDebugger` starts.
const char* debuggerName() noexcept;

/// Starts the debugger on this process and gives it two seconds to attach. False when it can't be started.
bool startDebugger() noexcept;

/// Stops here; comes back when the debugger lets the program go on. Without a debugger this ends the process.
void breakIntoDebugger() noexcept;

/// Hands the calling thread's stack to `take` as text, one frame a line, without the caller's `skip` innermost frames
/// (0: the caller stands first). Nothing is handed over when no stack can be read.
void renderStack(std::size_t skip, void (*take)(void* context, const char* text, std::size_t size), void* context);
} // namespace platform
