#include "io/StringPool.h"

#include <algorithm>

namespace model
{
u32 StringPool::indexOf(std::string_view text)
{
    text = text.substr(0, text.find('\0'));
    const auto found = indices.find(text);
    if (found != indices.end()) return found->second;

    const auto index = static_cast<u32>(strings.size());
    strings.push_back(store(text));
    indices.emplace(std::string_view(strings.back(), text.size()), index);
    return index;
}

const char* StringPool::intern(std::string_view text)
{
    return strings[indexOf(text)];
}

const char* StringPool::store(std::string_view text)
{
    const std::size_t needed = text.size() + 1;
    if (pages.empty() || pages.back().bytes.size() - pages.back().used < needed)
        pages.emplace_back().bytes.resize(std::max(pageSize, needed));

    Page& page = pages.back();
    char* const copy = page.bytes.data() + page.used;
    std::copy(text.begin(), text.end(), copy);
    copy[text.size()] = '\0';
    page.used += needed;
    return copy;
}

zr::vector<u8> StringPool::serialize() const
{
    std::size_t size = 0;
    for (const Page& page : pages)
        size += page.used;
    zr::vector<u8> bytes;
    bytes.reserve(size);
    for (const Page& page : pages)
        bytes.insert(bytes.end(), page.bytes.data(), page.bytes.data() + page.used);
    return bytes;
}
} // namespace model
