#pragma once

#include <cstddef>
#include <stdexcept>

namespace zr
{
/// A fixed array whose subscript is checked: `std::out_of_range`, "zr::array: index out of range".
template <class T, std::size_t N>
class array
{
public:
    constexpr T& operator[](std::size_t index)
    {
        if (index >= N) raise();
        return values[index];
    }
    constexpr const T& operator[](std::size_t index) const
    {
        if (index >= N) raise();
        return values[index];
    }

    static constexpr std::size_t size() { return N; }
    constexpr T* data() { return values; }
    constexpr const T* data() const { return values; }
    constexpr T* begin() { return values; }
    constexpr T* end() { return values + N; }
    constexpr const T* begin() const { return values; }
    constexpr const T* end() const { return values + N; }
    constexpr void fill(const T& value)
    {
        for (T& entry : values)
            entry = value;
    }
    constexpr bool operator==(const array&) const = default;

    T values[N]{};

private:
    [[noreturn]] static void raise() { throw std::out_of_range("zr::array: index out of range"); }
};
} // namespace zr
