#include <zr/array.h>
#include <zr/checked.h>
#include <zr/containers.h>
#include <zr/unordered_map.h>

#include <functional>

#include <gtest/gtest.h>

TEST(Checked, EveryFailureHasItsText)
{
    zr::vector<int> none;
    const zr::vector<int> two{1, 2};
    const zr::deque<int> queue;
    zr::array<int, 3> three{};
    zr::unordered_map<int, int> map;
    const std::pair<std::function<void()>, const char*> cases[] = {
        {[&] { zr::at(two, zr::at(two, 1)); }, "Expected idx < size()"},
        {[&] { zr::back(none); }, "Expected !empty()"},
        {[&] { zr::front(none); }, "Call front() on empty vector."},
        {[&] { zr::front(queue); }, "Call front() on empty deque."},
        {[&] { three[3] = 0; }, "zr::array: index out of range"},
        {[&] { map.at(1); }, "invalid unordered_map<K, T> key"},
        {[&] { map.reserve(SIZE_MAX / 2); }, "invalid hash bucket count"},
    };
    for (const auto& [action, text] : cases)
        try
        {
            action();
            ADD_FAILURE() << text;
        }
        catch (const std::out_of_range& error)
        {
            EXPECT_STREQ(error.what(), text);
        }
    EXPECT_THROW(none.reserve(SIZE_MAX / 4), std::length_error);
    EXPECT_THROW((zr::small_vector<int, 2>().reserve(SIZE_MAX)), std::length_error);
}
