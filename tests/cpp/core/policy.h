#pragma once

#include <string>

#include <fmt/format.h>

#include <zr/threads/thread.h>

/// A host's policy that says how many processors there are, notes what it is told, and asks for low priority.
struct NotingPolicy : zr::IThreadPolicy
{
    std::optional<zr::vector<zr::thread::ThreadInfo>> getPoolInfos(zr::u32, zr::u32) override { return std::nullopt; }
    void onThreadCreated(const char* name, zr::thread::ThreadInfo& info, zr::u32 id) override
    {
        told += fmt::format("{} {}\n", name, id > 0);
        info.priority = zr::thread::Priority::Low;
    }
    void onThreadJoining(zr::u32 id) override { told += fmt::format("joining {}\n", id > 0); }
    void reserved() override {}
    zr::u32 getThreadCount(zr::u32) override { return threads; }
    zr::u32 getReservedThreadCount(zr::u32) override { return reservedThreads; }

    zr::u32 threads = 0;
    zr::u32 reservedThreads = 0;
    std::string told;
};
