#include <zr/log/Sinks.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>
#include <mutex>

#include <platform/files.h>
#include <zr/containers.h>
#include <zr/format.h>
#include <zr/log/Control.h>
#include <zr/log/Line.h>
#include <zr/log/Log.h>
#include <zr/log/LogClock.h>
#include <zr/log/LogRule.h>
#include <zr/threads/CriticalSection.h>
#include <zr/threads/SpinWait.h>

namespace zr::log
{
constinit std::atomic<u32> detail::unwantedLevels{0};

class Sink
{
public:
    Sink(platform::FileHandle sinkFile, u32 lineFormat, std::span<const Rule> ruleTexts)
        : file(sinkFile),
          format(lineFormat),
          rules(ruleTexts.begin(), ruleTexts.end())
    {
    }

    bool takes(std::string_view tag, u32 level, std::string_view thread) const noexcept
    {
        return rulesPass(rules, tag, level, thread);
    }

    u32 acceptedLevels() const noexcept
    {
        u32 levels = 0;
        for (const LogRule& rule : rules)
            levels |= rule.acceptedLevels();
        return levels;
    }

    /// Whether the text repeats the last one, of a sink that drops such; counts it, or else keeps it and writes the
    /// note of those that it follows.
    bool dropsRepeated(const LogRecord& record) noexcept
    {
        if (!(format & kDropRepeated)) return false;
        const std::string_view text = record.text.view();
        if (hasLast && text == std::string_view(lastText, lastLength))
        {
            ++duplicates;
            return true;
        }
        lastLength = static_cast<u16>(std::min(text.size(), sizeof(lastText) - 1));
        std::memcpy(lastText, text.data(), lastLength);
        hasLast = true;
        writeNote(record.time);
        return false;
    }

    /// Says how many messages were dropped since the last one written, if any were.
    void writeNote(f64 time) noexcept
    {
        if (duplicates == 0) return;
        char text[129];
        formatText(text, sizeof(text), "%d duplicate message(s) skipped.", static_cast<int>(duplicates));
        duplicates = 0;
        note.time = time;
        note.level = kWarning;
        note.setTag("LOG");
        note.text.assign(text);
        noteLine.build(note, format);
        write(noteLine);
    }

    void write(Line& line) noexcept { stream.write(file, line); }

    /// What a thread that is no more may have left half done.
    void forgetLast() noexcept
    {
        duplicates = 0;
        hasLast = false;
    }

    Sink* next = nullptr;
    const platform::FileHandle file;
    const u32 format;

private:
    const vector<LogRule> rules;
    LineStream stream{LineStream::Kind::RegularFile};
    u64 duplicates = 0; // skipped since the last message written
    LogRecord note;
    bool hasLast = false;
    u16 lastLength = 0;
    char lastText[Line::kCapacity + 1];
    Line noteLine;
};

namespace
{
// Nothing of this ends with the statics: others log while theirs do.
constinit CriticalSection lock;
constinit Sink* firstSink = nullptr;        // under the lock; a sink is linked and taken out by one store
constinit std::atomic<bool> anySink{false}; // saves the lock where there is none
constinit Line sinkLine;                    // under the lock
constinit bool isRunning = false;           // under the lock
constinit std::atomic<u32> flushing{0};     // threads that use a sink's file behind the lock

void updateWanted() noexcept
{
    anySink.store(firstSink != nullptr, std::memory_order_relaxed);
    u32 unwanted = isRunning ? kDebug | kTrace : 0;
    for (const Sink* sink = firstSink; sink; sink = sink->next)
        unwanted &= ~sink->acceptedLevels();
    detail::unwantedLevels.store(unwanted, std::memory_order_relaxed);
}

/// The place that points to `sink`, or to the end of the list.
Sink** placeOf(const Sink* sink) noexcept
{
    Sink** place = &firstSink;
    while (*place && *place != sink)
        place = &(*place)->next;
    return place;
}

/// Files that a message went to and that are to reach the disk without holding up other threads.
class FilesToFlush
{
public:
    void add(platform::FileHandle file) noexcept
    {
        if (count == kMost)
            static_cast<void>(platform::flushFile(file));
        else
            files[count++] = file;
    }
    bool empty() const noexcept { return count == 0; }
    void flush() const noexcept
    {
        for (std::size_t i = 0; i < count; ++i)
            static_cast<void>(platform::flushFile(files[i]));
    }

private:
    static constexpr std::size_t kMost = 16;
    platform::FileHandle files[kMost];
    std::size_t count = 0;
};
} // namespace

void writeToSinks(const LogRecord& record, bool toDisk) noexcept
{
    if (!anySink.load(std::memory_order_relaxed)) return;
    FilesToFlush files;
    {
        const std::lock_guard guard(lock);
        u32 builtFormat = ~u32{0}; // of what the line holds; no sink has this one
        for (Sink* sink = firstSink; sink; sink = sink->next)
        {
            if (!sink->takes(record.tagView(), record.level, record.threadNameView())) continue;
            if (sink->dropsRepeated(record)) continue;
            if (builtFormat != sink->format) sinkLine.build(record, sink->format);
            builtFormat = sink->format;
            sink->write(sinkLine);
            if (toDisk) files.add(sink->file);
        }
        sinkLine.clear();
        if (!files.empty()) flushing.fetch_add(1, std::memory_order_relaxed);
    }
    if (files.empty()) return;
    files.flush();
    flushing.fetch_sub(1, std::memory_order_release);
}

bool sinksTake(std::string_view tag, u32 level, std::string_view thread) noexcept
{
    const std::lock_guard guard(lock);
    for (const Sink* sink = firstSink; sink; sink = sink->next)
        if (sink->takes(tag, level, thread)) return true;
    return false;
}

void updateUnwantedLevels(bool running) noexcept
{
    const std::lock_guard guard(lock);
    isRunning = running;
    updateWanted();
}

void forgetSinkThreads() noexcept
{
    lock.forgetHolder();
    flushing.store(0, std::memory_order_relaxed);
    isRunning = false;
    for (Sink* sink = firstSink; sink; sink = sink->next)
        sink->forgetLast();
    updateWanted();
}

Sink* openSink(const char* path, u32 format, std::span<const Rule> rules) noexcept
{
    platform::FileHandle file;
    if (platform::openForAppend(path, file)) return nullptr;
    auto* const sink = new (zr_malloc(sizeof(Sink))) Sink(file, format & 0xffff, rules);
    const std::lock_guard guard(lock);
    *placeOf(nullptr) = sink;
    updateWanted();
    return sink;
}

void closeSink(Sink* sink) noexcept
{
    {
        const std::lock_guard guard(lock);
        Sink** const place = placeOf(sink);
        if (!*place) return;
        *place = sink->next;
        updateWanted();
    }
    // Whoever counts itself from here on has not seen this sink.
    for (SpinWait wait; flushing.load(std::memory_order_acquire) != 0;)
        wait();
    sink->writeNote(clockSeconds());
    static_cast<void>(platform::closeFile(sink->file));
    std::destroy_at(sink);
    std::free(sink);
}
} // namespace zr::log
