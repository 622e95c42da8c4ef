#include <zr/unordered_map.h>
#include <zr/unordered_set.h>

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

namespace
{
using zr::u32;
using zr::u64;

/// The promised order on a plain vector: every place is found by going through all elements.
template <class Hash>
struct PlainOrder
{
    std::vector<u32> keys;
    std::size_t buckets = 8;

    std::size_t bucketOf(u32 key) const { return Hash{}(key) % buckets; }

    auto firstOfBucket(u32 key, std::ptrdiff_t end)
    {
        return std::find_if(keys.begin(), keys.begin() + end,
                            [&](u32 other) { return bucketOf(other) == bucketOf(key); });
    }

    void insert(u32 key)
    {
        if (std::find(keys.begin(), keys.end(), key) != keys.end()) return;
        if (keys.size() + 1 > buckets)
        {
            buckets *= buckets < 512 ? 8 : 2;
            for (std::ptrdiff_t i = 0; i < std::ssize(keys); ++i)
                std::rotate(firstOfBucket(keys[std::size_t(i)], i), keys.begin() + i, keys.begin() + i + 1);
        }
        keys.insert(firstOfBucket(key, std::ssize(keys)), key);
    }
    void erase(u32 key) { std::erase(keys, key); }
};

/// Puts many keys into few buckets, whatever their number.
struct CrowdedHash
{
    u64 operator()(u32 key) const { return key % 5; }
};

template <class Set>
std::vector<u32> inOrder(const Set& set)
{
    std::vector<u32> forward(set.begin(), set.end());
    std::vector<u32> backward;
    for (auto at = set.end(); at != set.begin();)
        backward.push_back(*--at);
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, backward);
    return forward;
}

template <class Hash>
class UnorderedOrder : public testing::Test
{
};
using Hashes = testing::Types<zr::hash<u32>, CrowdedHash>;
TYPED_TEST_SUITE(UnorderedOrder, Hashes);

TYPED_TEST(UnorderedOrder, IsThatOfThePlainModelOverRandomOperations)
{
    // Past 512 buckets, where growth turns from eightfold to twofold, and past the next step.
    constexpr u32 kKeys = 2600;
    for (u32 seed : {1u, 2u})
    {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        zr::unordered_set<u32, TypeParam> set;
        PlainOrder<TypeParam> plain;
        for (int step = 0; step < 5000; ++step)
        {
            const u32 key = static_cast<u32>(random() % kKeys) * 977;
            if (random() % 5 == 0)
            {
                const bool there = std::find(plain.keys.begin(), plain.keys.end(), key) != plain.keys.end();
                ASSERT_EQ(set.erase(key), there ? 1u : 0u);
                plain.erase(key);
            }
            else
            {
                const auto [place, isNew] = set.insert(key);
                ASSERT_EQ(*place, key);
                ASSERT_EQ(isNew, set.size() == plain.keys.size() + 1);
                plain.insert(key);
            }
            if (step < 200 || step % 97 == 0)
            {
                ASSERT_EQ(inOrder(set), plain.keys) << step;
            }
        }
        ASSERT_EQ(inOrder(set), plain.keys);
        for (u32 key = 0; key < kKeys * 977; key += 977)
            ASSERT_EQ(set.contains(key), std::find(plain.keys.begin(), plain.keys.end(), key) != plain.keys.end());
    }
}

TEST(Unordered, HashIsFnv1a)
{
    EXPECT_EQ(zr::hash<zr::string>{}(""), 0xCBF29CE484222325u);
    EXPECT_EQ(zr::hash<zr::string>{}("a"), 0xAF63DC4C8601EC8Cu);
    EXPECT_EQ(zr::hash<zr::string>{}("foobar"), 0x85944171F73967E8u);
    EXPECT_EQ(zr::hash<u32>{}(0x6F6F66), zr::hash<zr::string>{}(std::string_view("foo\0", 4)));
    EXPECT_EQ(zr::hash<zr::i32>{}(-1), zr::hash<zr::string>{}("\xFF\xFF\xFF\xFF"));
}

// Worked out by an independent program.
TEST(Unordered, KnownOrders)
{
    zr::unordered_set<u32> numbers;
    for (u32 i = 1; i <= 40; ++i)
        numbers.insert(i * 100);
    EXPECT_EQ(inOrder(numbers),
              (std::vector<u32>{2300, 100,  200,  500,  300,  400,  2800, 600,  700,  800,  900,  1000, 2200, 1100,
                                2100, 1200, 3500, 1300, 1400, 1500, 1600, 1700, 4000, 1800, 3000, 1900, 2900, 2000,
                                2400, 2500, 2600, 2700, 3100, 3200, 3300, 3400, 3600, 3700, 3800, 3900}));

    zr::unordered_map<zr::string, int> words;
    for (const char* word : {"wheel", "door", "lamp", "hull", "glass", "track", "turret", "gun", "mast"})
        words.try_emplace(word, 0);
    zr::string line;
    for (const auto& [word, value] : words)
        line += word + " ";
    EXPECT_EQ(line, "wheel track door glass lamp hull turret gun mast ");
}

TEST(UnorderedMap, MissingKeyRaises)
{
    zr::unordered_map<zr::string, int> map;
    map["there"] = 3;
    EXPECT_EQ(std::as_const(map).at("there"), 3);
    try
    {
        map.at("missing");
        FAIL();
    }
    catch (const std::out_of_range& error)
    {
        EXPECT_STREQ(error.what(), "invalid unordered_map<K, T> key");
    }
}

TEST(UnorderedMap, ASecondValueForAKeyIsLeftOut)
{
    zr::unordered_map<u32, std::unique_ptr<int>> map;
    EXPECT_TRUE(map.try_emplace(7, std::make_unique<int>(1)).second);
    auto spare = std::make_unique<int>(2);
    EXPECT_FALSE(map.try_emplace(7, std::move(spare)).second);
    EXPECT_NE(spare, nullptr) << "the value of a key that is there must not be taken";
    EXPECT_FALSE(map.insert({7, nullptr}).second);
    EXPECT_EQ(*map.at(7u), 1);
}

TEST(UnorderedMap, EveryElementIsDestroyedOnce)
{
    const auto token = std::make_shared<int>(0);
    zr::unordered_map<u32, std::shared_ptr<int>> map;
    for (u32 i = 0; i < 100; ++i)
        map.try_emplace(i, token);
    for (auto at = map.begin(); at != map.end();)
        at = at->first % 2 ? map.erase(at) : ++at;
    EXPECT_EQ(map.size(), 50u);
    EXPECT_EQ(token.use_count(), 51);

    auto moved = std::move(map);
    EXPECT_EQ(std::distance(moved.begin(), moved.end()), 50);
    EXPECT_EQ(map.begin(), map.end()); // NOLINT: a map that was moved from is empty and of use
    map.try_emplace(1, token);
    map = std::move(moved);
    EXPECT_EQ(map.size(), 50u);
    EXPECT_EQ(token.use_count(), 51);
    map.clear();
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_FALSE(map.contains(2u));
    map.try_emplace(2, token);
    EXPECT_EQ(*map.begin()->second, 0);
}

struct ThrowsAtThird
{
    static inline int made = 0;
    ThrowsAtThird()
    {
        if (++made == 3) throw std::runtime_error("third");
    }
};

TEST(UnorderedMap, AValueThatThrowsLeavesNothingBehind)
{
    zr::unordered_map<u32, ThrowsAtThird> map;
    map[1], map[2];
    EXPECT_THROW(map[3], std::runtime_error);
    EXPECT_EQ(map.size(), 2u);
    EXPECT_FALSE(map.contains(3u));
    map[3];
    EXPECT_EQ(map.size(), 3u);
}
} // namespace
