#pragma once

#include <cstdint>
#include <initializer_list>

namespace test
{
/// The same numbers everywhere for the same seed (splitmix64).
class Random
{
public:
    explicit Random(std::uint64_t seed) : state(seed) {}

    std::uint64_t next()
    {
        std::uint64_t z = state += 0x9E3779B97F4A7C15u;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
        return z ^ (z >> 31);
    }
    /// 0 to `count` - 1.
    unsigned below(std::size_t count) { return static_cast<unsigned>(next() % count); }
    bool chance(unsigned percent) { return below(100) < percent; }
    double unit() { return static_cast<double>(next() >> 11) * 0x1p-53; }
    float between(float low, float high) { return low + (high - low) * static_cast<float>(unit()); }
    template <class T>
    T pick(std::initializer_list<T> list)
    {
        return list.begin()[below(list.size())];
    }

private:
    std::uint64_t state;
};
} // namespace test
