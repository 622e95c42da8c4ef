#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <platform/posix/calls.h>

namespace platform::posix
{
/// The controlling terminal while the process is its foreground job. Anyone else who reads there would be stopped.
class Terminal
{
public:
    Terminal() noexcept : descriptor(uninterrupted([] { return open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY); }))
    {
        if (descriptor != -1 && tcgetpgrp(descriptor) != getpgrp())
        {
            close(descriptor);
            descriptor = -1;
        }
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;
    ~Terminal()
    {
        if (descriptor != -1) close(descriptor);
    }

    explicit operator bool() const noexcept { return descriptor != -1; }
    int get() const noexcept { return descriptor; }

private:
    int descriptor;
};
} // namespace platform::posix
