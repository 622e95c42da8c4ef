#include <zr/unordered_map.h>
#include <zr/unordered_set.h>

#include <algorithm>
#include <random>
#include <ranges>

#include <gtest/gtest.h>

namespace
{
using zr::u32;
using zr::u64;

/// Some keys have the same hash, others only the same bucket.
struct CrowdedHash
{
    u64 operator()(u32 key) const { return zr::hash<u32>{}(key / 3); }
};

/// The promised order on a plain vector: every place is found by going through all elements.
struct PlainOrder
{
    std::vector<u32> keys;
    std::size_t buckets = 8;

    auto firstOfBucket(u32 key, std::ptrdiff_t end)
    {
        const auto same = [&](u32 other) { return (CrowdedHash{}(other) ^ CrowdedHash{}(key)) % buckets == 0; };
        return std::find_if(keys.begin(), keys.begin() + end, same);
    }
    void rehash(std::size_t wanted)
    {
        buckets = wanted;
        for (std::ptrdiff_t i = 0; i < std::ssize(keys); ++i)
            std::rotate(firstOfBucket(keys[i], i), keys.begin() + i, keys.begin() + i + 1);
    }
    void insert(u32 key)
    {
        if (keys.size() == buckets) rehash(buckets * (buckets < 512 ? 8 : 2));
        keys.insert(firstOfBucket(key, std::ssize(keys)), key);
    }
};

/// A value that can run out of memory while it is made or copied.
struct Fragile
{
    static inline std::size_t alive = 0;
    static inline std::size_t makesLeft = 0;

    explicit Fragile(u32) { enter(); }
    Fragile(const Fragile&) { enter(); }
    ~Fragile() { --alive; }

    static void enter()
    {
        if (makesLeft-- == 0) throw std::bad_alloc();
        ++alive;
    }
};

TEST(UnorderedMap, AgreesWithAPlainModelOverRandomOperations)
{
    // Past 512 buckets, where growth turns from eightfold to twofold, and past the next step.
    constexpr u32 kKeys = 2600;
    std::mt19937 random(1);
    using Map = zr::unordered_map<u32, Fragile, CrowdedHash>;
    Map map;
    PlainOrder plain;
    for (u32 step = 0; step < 10000; ++step)
    {
        const u32 key = static_cast<u32>(random() % kKeys);
        const bool known = std::ranges::count(plain.keys, key) > 0;
        ASSERT_EQ(map.contains(key), known);
        const std::size_t numMakes[] = {SIZE_MAX, SIZE_MAX, 0, random() % (map.size() + 1)};
        Fragile::makesLeft = numMakes[random() % 4];
        const auto action = random() % 100;
        if (action < 20)
        {
            ASSERT_EQ(map.erase(key), known ? 1u : 0u);
            std::erase(plain.keys, key);
        }
        else if (action < 97)
        {
            if (!known && Fragile::makesLeft == 0)
                ASSERT_THROW(map.try_emplace(key, 0), std::bad_alloc);
            else if (map.try_emplace(key, 0).second)
                plain.insert(key);
        }
        else if (action < 99)
        {
            if (Fragile::makesLeft < map.size())
                ASSERT_THROW(Map{map}, std::bad_alloc);
            else
                map = Map(map); // goes on as its source would have
        }
        else if (const std::size_t wanted = plain.buckets / 2 + random() % 600; step > 100)
        {
            map.reserve(wanted);
            if (wanted > plain.buckets) plain.rehash(std::bit_ceil(wanted));
        }
        ASSERT_TRUE(map.size() == plain.keys.size() && Fragile::alive == map.size());
        if (step < 200 || step % 97 == 0)
        {
            ASSERT_TRUE(std::ranges::equal(map, plain.keys, {}, [](auto& entry) { return entry.first; })) << step;
            for (auto at = map.end(); u32 expected : plain.keys | std::views::reverse)
                ASSERT_EQ((--at)->first, expected) << step;
        }
    }
    const auto moved = std::move(map);
    EXPECT_TRUE(map.begin() == map.end() && !map.contains(moved.begin()->first)); // NOLINT: empty and of use
}

TEST(Unordered, HashIsFnv1a)
{
    EXPECT_EQ(zr::hash<zr::string>{}("foobar"), 0x85944171F73967E8u);
    EXPECT_EQ(zr::hash<u32>{}(0x6F6F66), zr::hash<zr::string>{}(std::string_view("foo\0", 4)));
    EXPECT_EQ(zr::hash<zr::i32>{}(-1), zr::hash<zr::string>{}("\xFF\xFF\xFF\xFF"));
}

// Worked out by an independent program.
TEST(Unordered, KnownOrder)
{
    zr::unordered_set<zr::string> words;
    for (const char* word : {"wheel", "door", "lamp", "hull", "glass", "track", "turret", "gun", "mast"})
        words.insert(word);
    zr::string line;
    for (const zr::string& word : words)
        line += word + " ";
    EXPECT_EQ(line, "wheel track door glass lamp hull turret gun mast ");
}

} // namespace
