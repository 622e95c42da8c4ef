#include <zr/assert/Assert.h>

#include <atomic>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <mutex>

#include <fmt/format.h>

#include <platform/debugger.h>
#include <platform/files.h>
#include <platform/threads.h>
#include <zr/assert/AssertPrompt.h>
#include <zr/assert/SkipRules.h>
#include <zr/format.h>
#include <zr/log/Control.h>
#include <zr/log/Log.h>
#include <zr/threads/CriticalSection.h>

namespace zr
{
namespace
{
constinit std::atomic<bool> abortsAtOnce{false};
constinit std::atomic<bool> notificationsOff{false};

// Held while a person is asked: assertions of other threads queue behind it, and then see the rule just added.
constinit CriticalSection lock;
[[maybe_unused]] const int forkHandler = (platform::onForkedChild([] { lock.forgetHolder(); }), 0);

using Report = fmt::basic_memory_buffer<char, 8168>;

[[gnu::noinline]] basic_string<char> captureCallstack()
{
    constexpr std::size_t kOwnFrames = 2; // this one and assertImpl
    basic_string<char> text;
    platform::renderStack(
        kOwnFrames, [](void* out, const char* part, std::size_t size)
        { static_cast<basic_string<char>*>(out)->append(part, size); }, &text);
    return text;
}

Report buildReport(const char* condition, const Failure& failure)
{
    Report report;
    const auto out = std::back_inserter(report);
    fmt::format_to(out, "Assertion failed!\n\nCondition: [{}]", condition);
    if (*failure.message)
        fmt::format_to(out, "\nMessage: [{}{}]", std::strchr(failure.message, '\n') ? "\n" : "", failure.message);
    const source_location_internal& location = failure.location;
    fmt::format_to(out, "\n\nLocation: \"{}\"({}, {})\nFunction: [{}]", location.file, location.line, location.column,
                   location.function);
    if (!failure.callstack.empty()) fmt::format_to(out, "\n\nCallstack:\n{}", failure.callstack.c_str());
    return report;
}

[[noreturn]] void abortWith(std::string_view report)
{
    constexpr i64 kPatience = 2'000'000'000; // nanoseconds for the log's worker to write what it has
    log::flush(kPatience);
    platform::writeStandardError(report.data(), report.size());
    platform::writeStandardError("\n", 1);
    std::abort();
}

/// Comes back when a debugger let the program go on.
void breakOrAbort(std::string_view report)
{
    if (!platform::isDebuggerAttached() && !platform::startDebugger()) tellDebuggerIsMissing();
    if (!platform::isDebuggerAttached()) abortWith(report);
    platform::breakIntoDebugger();
}

void askUnlessSkipped(std::string_view report, const Failure& failure)
{
    if (isSkipped(failure)) return;
    u8 offered = kSameLocation | kSameFunction;
    if (*failure.message) offered |= kSameMessage;
    if (!failure.callstack.empty()) offered |= kSameCallstack;
    const AssertAnswer answer = askAboutAssertion(report, offered);
    if (answer.choice == AssertChoice::Abort) abortWith(report);
    if (answer.choice == AssertChoice::Retry)
        breakOrAbort(report);
    else if (answer.skipFlags)
        addSkipRule(answer.skipFlags, failure);
}
} // namespace

AssertMessage formatAssertMessage(const char* format, ...)
{
    AssertMessage message;
    if (!format) return message;
    message.resize(message.capacity());
    std::va_list arguments;
    std::va_list again;
    va_start(arguments, format);
    va_copy(again, arguments);
    i32 length = formatText(message.data(), message.size(), format, arguments);
    if (length >= 0 && static_cast<std::size_t>(length) >= message.size())
    {
        message.resize(static_cast<std::size_t>(length) + 1);
        length = formatText(message.data(), message.size(), format, again);
        // An argument that another thread changes may have grown once more.
        if (length >= 0 && static_cast<std::size_t>(length) >= message.size())
        {
            length = static_cast<i32>(message.size()) - 1;
            std::memcpy(message.data() + length - 3, "...", 3);
        }
    }
    va_end(again);
    va_end(arguments);
    constexpr std::string_view kFailed = "Failed to create assertion message.";
    if (length < 0)
        message.assign(kFailed.begin(), kFailed.end());
    else
        message.resize(static_cast<std::size_t>(length));
    message.push_back('\0');
    return message;
}

[[gnu::noinline]] void assertImpl(const char* condition, const source_location_internal& location,
                                  AssertMessage&& message) noexcept
{
    const basic_string<char> callstack = captureCallstack();
    const Failure failure{location, message.empty() ? "" : message.data(), callstack};
    const Report built = buildReport(condition, failure);
    const std::string_view report(built.data(), built.size());
    if (log::isEnabled(log::kCoreTag, log::kError))
        log::write(log::kCoreTag, log::kError, "%.*s", static_cast<int>(report.size()), report.data());
    if (abortsAtOnce.load(std::memory_order_relaxed)) abortWith(report);
    if (notificationsOff.load(std::memory_order_relaxed)) return;
    const std::lock_guard guard(lock);
    askUnlessSkipped(report, failure);
}

void setAssertAbortsAtOnce(bool abortAtOnce) noexcept
{
    abortsAtOnce.store(abortAtOnce, std::memory_order_relaxed);
}

void setAssertNotificationsOff(bool off) noexcept
{
    notificationsOff.store(off, std::memory_order_relaxed);
}
} // namespace zr
