#pragma once

#include <atomic>

#include <platform/console.h>
#include <zr/log/Control.h>
#include <zr/log/LogRecord.h>

namespace zr::log
{
/// What a line shows beside its record; process-wide.
struct LineSettings
{
    std::atomic<i64> timeBase{0}; ///< whole seconds added to a record's time for dates
    std::atomic<PrefixCallback> prefix{nullptr};
};
extern constinit LineSettings lineSettings;

/// A line on its way to a stream. It has room around its text for what a stream adds, so that each line is one write.
/// Belongs to one thread at a time; large, so never on a stack.
class Line
{
public:
    static constexpr std::size_t kCapacity = 65535;

    /// Replaces the line by that of a record: the parts that `format` names, one blank between two, ": ", the text, and
    /// a newline where the text ends in none. What is over-long is cut and still ends in a newline.
    void build(const LogRecord& record, u32 format) noexcept;

    std::string_view view() const noexcept { return {text(), length}; }
    bool empty() const noexcept { return length == 0; }
    void clear() noexcept { length = 0; }

private:
    friend class LineStream;

    /// Date and time of a second, without its fraction: as costly as the rest of a line, and the same for a thousand.
    struct Date
    {
        i64 second = 0;
        bool local = false;
        char text[64] = {};
        std::size_t length = 0; // 0: none yet
    };

    static constexpr std::size_t kRoom = platform::kColourSize + 1;

    char* text() noexcept { return bytes + kRoom; }
    const char* text() const noexcept { return bytes + kRoom; }

    void append(std::string_view part) noexcept;
    void appendTime(f64 time, u32 format) noexcept;
    void appendDate(f64 time, bool local) noexcept;
    void appendPrefix(PrefixCallback callback) noexcept;
    void endLine() noexcept;

    std::size_t length = 0;
    Date date;
    char bytes[kRoom + kCapacity + 1 + kRoom] = {};
};

/// What is known of a stream that gets lines: it remembers a line that came out torn (a full disk), and gives the next
/// one a line of its own.
class LineStream
{
public:
    enum class Kind
    {
        Any,
        RegularFile, ///< never full for a while, never without a reader
    };

    constexpr explicit LineStream(Kind streamKind = Kind::Any) noexcept : kind(streamKind) {}

    /// One write to `file`. `colour` (zero-terminated) stands in front, and behind the line the terminal's own; null:
    /// none.
    void write(platform::FileHandle file, Line& line, const char* colour = nullptr) noexcept;

private:
    Kind kind;
    bool torn = false;
};
} // namespace zr::log
