#pragma once

#include <algorithm>
#include <array>
#include <string_view>

#include <zr/types.h>

namespace zr
{
/// The name that a task's record keeps: the first 128 characters.
class TaskName
{
public:
    explicit TaskName(std::string_view name) noexcept { length = static_cast<u8>(name.copy(text.data(), text.size())); }
    std::string_view view() const noexcept { return {text.data(), length}; }

private:
    u8 length;
    std::array<char, 128> text;
};
} // namespace zr
