#pragma once

#include <platform/threads.h>

namespace zr
{
/// One turn of waiting for another thread to finish a few instructions. After a bounded number of turns it yields the
/// processor each time: a bare spin would starve the very thread that it waits for.
class SpinWait
{
public:
    void operator()() noexcept
    {
        if (turns++ < kBareTurns)
            platform::pauseProcessor();
        else
            platform::yieldProcessor();
    }

private:
    static constexpr unsigned kBareTurns = 32;
    unsigned turns = 0;
};
} // namespace zr
