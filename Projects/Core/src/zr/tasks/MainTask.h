#pragma once

#include <functional>
#include <string_view>

#include <zr/SharedGroupBarrier.h>
#include <zr/tasks/taskName.h>

namespace zr
{
/// The record of a synchronous task.
struct MainTask
{
    using PlainFunction = void (*)(void* context);

    MainTask(const BarrierPtr& group, std::string_view text) : barrier(group), name(text) {}

    void call() const
    {
        if (plain)
            plain(context);
        else
            function();
    }

    /// The next task of a queue; of the last one the queue's stub.
    std::atomic<MainTask*> next{nullptr};
    BarrierPtr barrier;
    std::function<void()> function;
    PlainFunction plain = nullptr;
    void* context = nullptr;
    TaskName name;
};
} // namespace zr
