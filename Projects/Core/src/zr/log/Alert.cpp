#include <zr/log/Alert.h>

#include <atomic>

#include <platform/console.h>
#include <zr/log/Control.h>
#include <zr/log/Log.h>
#include <zr/log/LogRecord.h>

namespace zr::log
{
namespace
{
constinit std::atomic<AlertHandler> alertHandler{alertBox};
constinit std::atomic<u32> alertMask{kAlert};
constinit std::atomic<bool> silenced{false};
// Initial-exec, so that a report of exhausted memory doesn't ask the heap for this byte.
[[gnu::tls_model("initial-exec")]] constinit thread_local bool insideHandler = false;
} // namespace

void raiseAlert(const char* text, u32 level) noexcept
{
    if (!(level & alertMask.load(std::memory_order_relaxed)) || silenced.load(std::memory_order_relaxed)) return;
    const AlertHandler handler = alertHandler.load(std::memory_order_acquire);
    if (!handler || insideHandler) return;
    insideHandler = true;
    const bool quiet = handler(text, labelOf(level)) != 0;
    insideHandler = false;
    silenced.exchange(quiet);
}

bool insideAlertHandler() noexcept
{
    return insideHandler;
}

int alertBox(const char* text, const char* label) noexcept
{
    const std::string_view parts[] = {"\n", label, "\n", text, "\n(A)bort, [R]etry, (I)gnore: "};
    char answer[16];
    while (platform::askOnTerminal(parts, answer, sizeof(answer)))
        switch (answer[0])
        {
        case 'i':
        case 'I':
            return 1;
        case 'a':
        case 'A':
        case 'r':
        case 'R':
        case '\0': // the second button is the default
            return 0;
        default:
            break;
        }
    return 0;
}

void setAlertHandler(AlertHandler handler) noexcept
{
    alertHandler.store(handler, std::memory_order_release);
}

void setAlertMask(u32 levels) noexcept
{
    alertMask.store(levels, std::memory_order_relaxed);
}

void setAlertsSilenced(bool quiet) noexcept
{
    silenced.store(quiet, std::memory_order_relaxed);
}
} // namespace zr::log
