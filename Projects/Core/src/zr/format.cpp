#include <zr/format.h>

#include <algorithm>
#include <climits>

// The fast path reads and writes words at any address, which is no C++.
#define STB_SPRINTF_NOUNALIGNED
#define STB_SPRINTF_STATIC
#define STB_SPRINTF_IMPLEMENTATION
#include <stb/stb_sprintf.h>

namespace zr
{
i32 formatText(char* out, std::size_t capacity, const char* format, std::va_list arguments) noexcept
{
    return stbsp_vsnprintf(out, static_cast<int>(std::min<std::size_t>(capacity, INT_MAX)), format, arguments);
}

i32 formatText(char* out, std::size_t capacity, const char* format, ...) noexcept
{
    std::va_list arguments;
    va_start(arguments, format);
    const i32 length = formatText(out, capacity, format, arguments);
    va_end(arguments);
    return length;
}
} // namespace zr
