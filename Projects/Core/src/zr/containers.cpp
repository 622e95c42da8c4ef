#include <zr/containers.h>
#include <zr/unordered.h>

namespace zr
{
void raiseBadIndex()
{
    throw std::out_of_range("Expected idx < size()");
}

void detail::raiseHashTableTooLong()
{
    throw std::length_error("unordered_map/set too long");
}

void detail::raiseBadBucketCount()
{
    throw std::out_of_range("invalid hash bucket count");
}

void detail::raiseUnknownKey()
{
    throw std::out_of_range("invalid unordered_map<K, T> key");
}
} // namespace zr
