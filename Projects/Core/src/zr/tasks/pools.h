#pragma once

#include <zr/tasks/ObjectPool.h>

namespace zr
{
/// The process's pools of the records that every part of the task system shares. They live to the end of the process;
/// the child of a fork gets new ones.
ObjectPool& barrierPool();
ObjectPool& mainTaskPool();
ObjectPool& timerEntryPool();
} // namespace zr
