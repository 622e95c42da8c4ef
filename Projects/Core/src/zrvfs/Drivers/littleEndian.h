#pragma once

#include <zr/types.h>

namespace zrvfs
{
/// The little-endian number of T's width that stands at `at`.
template <class T>
T readLittleEndian(const zr::u8* at)
{
    T value = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i)
        value = static_cast<T>(value | static_cast<T>(static_cast<T>(at[i]) << (8 * i)));
    return value;
}
} // namespace zrvfs
