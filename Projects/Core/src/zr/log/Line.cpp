#include <zr/log/Line.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>

#include <platform/clock.h>
#include <zr/format.h>

namespace zr::log
{
constinit LineSettings lineSettings;

namespace
{
platform::CalendarTime utcTime(i64 seconds) noexcept
{
    using namespace std::chrono;
    const sys_seconds time{std::chrono::seconds(seconds)};
    const auto day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss clock(time - day);
    return {static_cast<int>(date.year()),
            static_cast<int>(static_cast<unsigned>(date.month())),
            static_cast<int>(static_cast<unsigned>(date.day())),
            static_cast<int>(clock.hours().count()),
            static_cast<int>(clock.minutes().count()),
            static_cast<int>(clock.seconds().count())};
}
} // namespace

void Line::append(std::string_view part) noexcept
{
    const std::size_t count = std::min(part.size(), kCapacity - length);
    std::memcpy(text() + length, part.data(), count);
    length += count;
}

void Line::appendDate(f64 time, bool local) noexcept
{
    const f64 whole = std::floor(time);
    const i64 second = static_cast<i64>(whole);
    if (date.length == 0 || date.second != second || date.local != local)
    {
        platform::CalendarTime parts;
        if (!local || !platform::localCalendarTime(second, parts)) parts = utcTime(second);
        const i32 size = formatText(date.text, sizeof(date.text), "%04d-%02d-%02d %02d:%02d:%02d.", parts.year,
                                    parts.month, parts.day, parts.hour, parts.minute, parts.second);
        date.length = static_cast<std::size_t>(size);
        date.second = second;
        date.local = local;
    }
    append({date.text, date.length});
    const u32 milliseconds = static_cast<u32>((time - whole) * 1000);
    const char digits[3] = {static_cast<char>('0' + milliseconds / 100),
                            static_cast<char>('0' + milliseconds / 10 % 10),
                            static_cast<char>('0' + milliseconds % 10)};
    append({digits, sizeof(digits)});
}

void Line::appendTime(f64 time, u32 format) noexcept
{
    if ((format & kLocalTime) == kRelativeTime)
    {
        char seconds[64];
        append({seconds, static_cast<std::size_t>(formatText(seconds, sizeof(seconds), "% 9.3f", time))});
    }
    else
        appendDate(static_cast<f64>(lineSettings.timeBase.load(std::memory_order_relaxed)) + time,
                   (format & kLocalTime) == kLocalTime);
}

void Line::appendPrefix(PrefixCallback callback) noexcept
{
    const std::size_t room = kCapacity - length;
    length += std::min(callback(text() + length, room), room);
}

void Line::endLine() noexcept
{
    if (length == 0 || text()[length - 1] == '\n') return;
    if (length < kCapacity) ++length;
    text()[length - 1] = '\n';
}

void Line::build(const LogRecord& record, u32 format) noexcept
{
    clear();
    bool first = true;
    const auto separate = [&]
    {
        if (!first) append(" ");
        first = false;
    };
    if (format & kLocalTime)
    {
        separate();
        appendTime(record.time, format);
    }
    if (format & kPrefix)
        if (const PrefixCallback callback = lineSettings.prefix.load(std::memory_order_acquire))
        {
            separate();
            appendPrefix(callback);
        }
    if (format & kLabel)
    {
        separate();
        append(labelOf(record.level));
    }
    if (format & kTag)
    {
        separate();
        append(record.tagView());
    }
    if (format & kThreadName)
    {
        separate();
        append("(");
        append(record.threadNameView());
        append(")");
    }
    if (!first) append(": ");
    append(record.text.view());
    endLine();
    text()[length] = '\0';
}

void LineStream::write(platform::FileHandle file, Line& line, const char* colour) noexcept
{
    if (line.empty()) return;
    char* begin = line.text();
    char* end = begin + line.length;
    const auto addInFront = [&](const char* what, std::size_t size)
    {
        begin -= size;
        std::memcpy(begin, what, size);
    };
    if (colour)
    {
        addInFront(colour, std::strlen(colour));
        const char* const plain = platform::plainSequence();
        std::memcpy(end, plain, std::strlen(plain));
        end += std::strlen(plain);
    }
    if (torn) addInFront("\n", 1);
    const auto size = static_cast<std::size_t>(end - begin);
    std::size_t written = 0;
    if (kind == Kind::RegularFile)
        static_cast<void>(platform::writeAll(file, begin, size, written));
    else
        written = platform::writeLine(file, begin, size);
    if (written > 0) torn = written < size;
}
} // namespace zr::log
