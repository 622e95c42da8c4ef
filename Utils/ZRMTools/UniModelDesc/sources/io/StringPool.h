#pragma once

#include <string_view>

#include "base/types.h"
#include <parallel_hashmap/phmap.h>
#include <zr/containers.h>

namespace model
{
/// Distinct NUL-terminated strings, numbered in the order of their first use.
class StringPool
{
public:
    explicit StringPool(std::size_t bytesPerPage) : pageSize(bytesPerPage) {}

    /// The pool's own copy of a string, which is cut at its first NUL.
    const char* intern(std::string_view text);
    /// The number of distinct strings that were interned before this one.
    u32 indexOf(std::string_view text);
    /// All strings in index order, each with its NUL.
    zr::vector<u8> serialize() const;

private:
    /// Bytes of a page never move: strings point into them.
    struct Page
    {
        zr::vector<char> bytes;
        std::size_t used = 0;
    };

    const char* store(std::string_view text);

    std::size_t pageSize;
    zr::vector<Page> pages;
    zr::vector<const char*> strings;
    phmap::flat_hash_map<std::string_view, u32> indices;
};
} // namespace model
