#pragma once

#include <cstdarg>

#include <zr/InlineString.h>

namespace zr::log
{
/// The label of a level in a line: seven characters wide but for "ERROR_ONCE".
const char* labelOf(u32 level) noexcept;

/// What a record in the worker's queue asks for.
enum class RecordKind : u32
{
    Message = 0,
    FilterQuery = 3, ///< whether any sink takes a message of this tag and level
};

/// One message on its way to the sinks and the console.
struct LogRecord
{
    static constexpr std::size_t kNameLength = 64;

    LogRecord* next = nullptr; ///< in the pools and in the queue
    RecordKind kind = RecordKind::Message;
    f64 time = 0; ///< seconds since the clock's start
    u32 level = 0;
    u8 threadNameLength = 0;
    char threadName[kNameLength + 1] = {};
    u8 tagLength = 0;
    char tag[kNameLength + 1] = {};
    InlineString<255> text;

    std::string_view threadNameView() const noexcept { return {threadName, threadNameLength}; }
    std::string_view tagView() const noexcept { return {tag, tagLength}; }

    /// Sets everything but the text and the time: the calling thread's name, or its number where the library gave it
    /// none, and the arguments.
    void fill(const char* newTag, u32 newLevel) noexcept;

    /// Only the tag; null gives "<NULL>".
    void setTag(const char* newTag) noexcept;

    /// Formats the text; grows it when it doesn't fit.
    [[gnu::format(printf, 2, 0)]] void format(const char* form, std::va_list arguments) noexcept;

    /// As new. A heap block of an ordinary size stays for the next long message.
    void reset() noexcept;
};
} // namespace zr::log
