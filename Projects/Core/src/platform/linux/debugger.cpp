#include <platform/debugger.h>

#include <charconv>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <time.h>
#include <unistd.h>

#include <platform/posix/calls.h>

namespace platform
{
using posix::uninterrupted;

bool isDebuggerAttached() noexcept
{
    const int file = uninterrupted([] { return open("/proc/self/status", O_RDONLY | O_CLOEXEC); });
    if (file == -1) return false;
    char text[4096]; // the tracer stands among the first lines
    const ssize_t size = uninterrupted([&] { return read(file, text, sizeof(text)); });
    close(file);
    constexpr std::string_view kLabel = "\nTracerPid:\t";
    const std::string_view status(text, size > 0 ? static_cast<std::size_t>(size) : 0);
    const std::size_t place = status.find(kLabel);
    if (place == std::string_view::npos || place + kLabel.size() >= status.size()) return false;
    return status[place + kLabel.size()] != '0';
}

const char* debuggerName() noexcept
{
    return "gdb";
}

bool startDebugger() noexcept
{
    char process[16] = {};
    std::to_chars(process, process + sizeof(process) - 1, getpid());
    char program[] = "gdb";
    char option[] = "-p";
    char* const arguments[] = {program, option, process, nullptr};
    pid_t debugger;
    if (posix_spawnp(&debugger, program, nullptr, nullptr, arguments, environ) != 0) return false;
    prctl(PR_SET_PTRACER, debugger); // by default only an ancestor may attach
    const timespec tenth{0, 100'000'000};
    for (int polls = 0; polls < 20 && !isDebuggerAttached(); ++polls)
        nanosleep(&tenth, nullptr);
    return true;
}

void breakIntoDebugger() noexcept
{
    std::raise(SIGTRAP);
}
} // namespace platform
