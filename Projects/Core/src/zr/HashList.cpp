#include <zr/HashList.h>

#include <stdexcept>

namespace zr::detail
{
void raiseHashTableTooLong()
{
    throw std::length_error("unordered_map/set too long");
}

void raiseBadBucketCount()
{
    throw std::out_of_range("invalid hash bucket count");
}
} // namespace zr::detail
