#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include <boost/container/small_vector.hpp>

#include <zr/memory.h>

/// Standard containers bound to the core's allocator: a request that is too long for any memory is a
/// `std::length_error`, one that the heap cannot serve ends the process (see `zr::allocator`).
namespace zr
{
template <class C>
using basic_string = std::basic_string<C, std::char_traits<C>, allocator<C>>;
using string = basic_string<char>;

template <class T>
using vector = std::vector<T, allocator<T>>;

template <class T>
using deque = std::deque<T, allocator<T>>;

/// A vector whose first `N` elements need no heap.
template <class T, std::size_t N>
using small_vector = boost::container::small_vector<T, N, allocator<T>>;
} // namespace zr
