#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include <platform/files.h>

/// The places where a person reads: standard error, the debugger stream, the controlling terminal.
/// Nothing here allocates, throws or logs.
namespace platform
{
/// Standard error, whatever stands behind it now.
FileHandle standardError() noexcept;

bool isTerminal(FileHandle file) noexcept;

/// Writes one line to a stream. It comes out whole through short writes and interruptions, and a reader that is gone
/// costs the line, never the process. A stream that doesn't block and is full costs the line too; of a line that it
/// took the beginning of, the rest is tried for a second.
///
/// returns the bytes written: `size`, 0 for a line that is lost, or what is there of a torn one
std::size_t writeLine(FileHandle file, const char* line, std::size_t size) noexcept;

/// The sequence of bytes that sets the colour of what follows on a terminal. Bits of `attribute`: 1 blue, 2 green,
/// 4 red, 8 bright. Zero-terminated, at most `kColourSize` bytes.
const char* colourSequence(std::uint32_t attribute) noexcept;
/// The sequence that goes back to the terminal's own colours.
const char* plainSequence() noexcept;
constexpr std::size_t kColourSize = 8;

/// A destination of the debugger stream: `size` bytes of UTF-8, zero-terminated. Called from any thread.
using DebuggerStream = void (*)(const char* text, std::size_t size);

/// Sends a text to the debugger stream.
void writeDebugger(const char* text, std::size_t size) noexcept;

/// Replaces the debugger stream and gives the one before; null brings back the first. That one writes nowhere unless
/// a debugger is attached, and then to the controlling terminal where standard error doesn't show there anyway.
DebuggerStream setDebuggerStream(DebuggerStream stream) noexcept;

/// Shows the parts of a text on the controlling terminal, one behind the other, and reads one line of an answer,
/// without its newline, zero-terminated and cut to the capacity. Waits for the person as long as it takes.
///
/// returns false when there is no terminal, it is in use by another job, or its input has ended
bool askOnTerminal(std::span<const std::string_view> parts, char* answer, std::size_t capacity) noexcept;
} // namespace platform
