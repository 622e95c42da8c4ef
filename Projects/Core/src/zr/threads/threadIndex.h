#pragma once

#include <zr/types.h>

namespace zr
{
/// How many threads can have an index at one time.
constexpr u32 kMaxThreadIndices = 64;
constexpr u32 kNoThreadIndex = kMaxThreadIndices;

/// A number below `kMaxThreadIndices` that no other living thread has: whatever is kept under it belongs to the calling
/// thread alone. `kNoThreadIndex` for the threads beyond that many, and for a thread whose thread-local objects are
/// being destroyed. A thread that gets the number of an ended one sees all that the other wrote under it.
u32 threadIndex() noexcept;
} // namespace zr
