#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <type_traits>

#include <zr/types.h>

/// Hashes that are the same on every platform and compiler.
namespace zr
{
/// 64-bit FNV-1a over `size` bytes.
inline u64 hashBytes(const unsigned char* bytes, std::size_t size) noexcept
{
    u64 hash = 0xCBF29CE484222325;
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ bytes[i]) * 0x100000001B3;
    return hash;
}

/// The hash of a key: `hashBytes` over its bytes. Integers, enumerations and pointers count least significant byte
/// first. The order of a container with pointer keys depends on the addresses: never let it show.
template <class Key>
struct hash
{
    static_assert(std::is_integral_v<Key> || std::is_enum_v<Key> || std::is_pointer_v<Key>,
                  "This key needs a hash of its own.");

    u64 operator()(Key key) const noexcept
    {
        u64 value;
        if constexpr (std::is_pointer_v<Key>)
            value = reinterpret_cast<std::uintptr_t>(key);
        else
            value = static_cast<u64>(key);
        unsigned char bytes[sizeof(Key)];
        for (unsigned char& byte : bytes)
        {
            byte = static_cast<unsigned char>(value);
            value >>= 8;
        }
        return hashBytes(bytes, sizeof(Key));
    }
};

/// Strings are looked up by anything that converts to a string view.
template <class Allocator>
struct hash<std::basic_string<char, std::char_traits<char>, Allocator>>
{
    u64 operator()(std::string_view text) const noexcept
    {
        return hashBytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }
};
} // namespace zr
