#pragma once

#include <cstddef>
#include <deque>
#include <type_traits>

/// Checked access to any sequence. Every failure is a `std::out_of_range`.
namespace zr
{
/// Raises the failure of every checked subscript: "Expected idx < size()".
[[noreturn]] void raiseBadIndex();

namespace detail
{
[[noreturn]] void raiseEmptyBack();
[[noreturn]] void raiseEmptyFront(bool isDeque);

template <class Sequence>
inline constexpr bool isDeque = false;
template <class T, class Allocator>
inline constexpr bool isDeque<std::deque<T, Allocator>> = true;
} // namespace detail

/// The element at `index`; "Expected idx < size()" when there is none.
template <class Sequence>
auto& at(Sequence& sequence, std::size_t index)
{
    if (index >= sequence.size()) raiseBadIndex();
    return sequence[index];
}

/// The last element; "Expected !empty()" when there is none.
template <class Sequence>
auto& back(Sequence& sequence)
{
    if (sequence.empty()) detail::raiseEmptyBack();
    return sequence.back();
}

/// The first element; "Call front() on empty vector." when there is none, or "Call front() on empty deque.".
template <class Sequence>
auto& front(Sequence& sequence)
{
    if (sequence.empty()) detail::raiseEmptyFront(detail::isDeque<std::remove_const_t<Sequence>>);
    return sequence.front();
}
} // namespace zr
