#pragma once

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include <boost/container/small_vector.hpp>

#include <zr/memory.h>

/// Standard containers bound to the core's allocator.
namespace zr
{
template <class C>
using basic_string = std::basic_string<C, std::char_traits<C>, allocator<C>>;
using string = basic_string<char>;

template <class T>
using vector = std::vector<T, allocator<T>>;

template <class T, std::size_t N>
using small_vector = boost::container::small_vector<T, N, allocator<T>>;

/// Raises the failure of every checked subscript: `std::out_of_range`, "Expected idx < size()".
[[noreturn]] void raiseBadIndex();

/// Checked subscript of a sequence.
template <class Sequence>
auto& at(Sequence& sequence, std::size_t index)
{
    if (index >= sequence.size()) raiseBadIndex();
    return sequence[index];
}

/// Checked access to the last element; `std::out_of_range`, "Expected !empty()" when there is none.
template <class Sequence>
auto& back(Sequence& sequence)
{
    if (sequence.empty()) throw std::out_of_range("Expected !empty()");
    return sequence.back();
}

/// Checked access to the first element; `std::out_of_range`, "Call front() on empty vector." when there is none.
template <class Sequence>
auto& front(Sequence& sequence)
{
    if (sequence.empty()) throw std::out_of_range("Call front() on empty vector.");
    return sequence.front();
}

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
