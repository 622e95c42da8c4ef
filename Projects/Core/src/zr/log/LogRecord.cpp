#include <zr/log/LogRecord.h>

#include <algorithm>
#include <charconv>
#include <cstring>

#include <platform/threads.h>
#include <zr/format.h>
#include <zr/log/Log.h>

namespace zr::log
{
const char* labelOf(u32 level) noexcept
{
    switch (level & 0x7fff)
    {
    case kAlert:
        return "ALERT  ";
    case kError:
        return "ERROR  ";
    case kWarning:
        return "WARNING";
    case kErrorOnce:
        return "ERROR_ONCE";
    case kInfo:
        return "INFO   ";
    case kDebug:
        return "DEBUG  ";
    case kTrace:
        return "TRACE  ";
    default:
        return "UNKNOWN";
    }
}

void LogRecord::setTag(const char* newTag) noexcept
{
    if (!newTag) newTag = "<NULL>";
    const std::size_t length = strnlen(newTag, kNameLength);
    std::memcpy(tag, newTag, length);
    tag[length] = '\0';
    tagLength = static_cast<u8>(length);
}

void LogRecord::fill(const char* newTag, u32 newLevel) noexcept
{
    level = newLevel;
    setTag(newTag);
    std::size_t length = 0;
    if (const char* const name = platform::currentThreadName())
    {
        length = strnlen(name, kNameLength);
        std::memcpy(threadName, name, length);
    }
    else
        length = static_cast<std::size_t>(
            std::to_chars(threadName, threadName + kNameLength, platform::currentThreadId()).ptr - threadName);
    threadName[length] = '\0';
    threadNameLength = static_cast<u8>(length);
}

void LogRecord::format(const char* form, std::va_list arguments) noexcept
{
    std::va_list again;
    va_copy(again, arguments);
    i32 length = formatText(text.begin(), text.capacity() + 1, form, arguments);
    if (length >= 0 && static_cast<u64>(length) > text.capacity())
    {
        text.reserve(static_cast<u64>(length));
        length = formatText(text.begin(), text.capacity() + 1, form, again);
    }
    va_end(again);
    // An argument may have changed meanwhile, and a text may be too long to have a length: what fits, counts.
    const u64 characters = length < 0 ? strnlen(text.c_str(), text.capacity()) : static_cast<u64>(length);
    text.setLength(std::min(characters, text.capacity()));
}

void LogRecord::reset() noexcept
{
    constexpr u64 kOrdinary = 0x20000; // a line shows half of it
    time = 0;
    level = 0;
    threadName[threadNameLength = 0] = '\0';
    tag[tagLength = 0] = '\0';
    if (text.capacity() > kOrdinary)
        text.shrink();
    else
        text.clear();
}
} // namespace zr::log
