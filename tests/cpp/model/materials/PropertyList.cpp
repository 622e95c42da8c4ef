#include <algorithm>
#include <locale>

#include "Builders.h"
#include "Random.h"

using namespace model;

namespace
{
template <class Property, class Value>
ObjectPtr<Property> make(const zr::string& name, Value value)
{
    const auto property = create<Property>();
    property->setName(name.c_str());
    property->setValue(std::move(value));
    return property;
}

zr::string nameOf(u32 number)
{
    return ("a name of some length " + std::to_string(number)).c_str();
}
} // namespace

// A host may have set a locale of C++, which not even the process's environment knows.
TEST(Property, TextsAreOfNoLocale)
{
    struct Comma : std::numpunct<char>
    {
        char do_decimal_point() const override { return ','; }
    };
    const std::locale before = std::locale::global(std::locale(std::locale(), new Comma));
    const auto property = make<Vec4fProperty>("n", vec4f(1, 2, 3, 1234.5f));
    EXPECT_EQ(property->toString(), "n = vec4(1.000000,2.000000,3.000000,1234.500000);");
    std::locale::global(before);
}

// Short lists are compared by the plain search, long ones by another road.
TEST(PropertyList, EqualityIsDirectedAtEveryLength)
{
    test::Random random(7);
    u32 numEqual = 0;
    for (u32 round = 0; round < 2000; ++round)
    {
        PropertyList lists[2];
        for (u32 size = round % 80, i = 0; i < 2 * size; ++i)
            lists[i % 2].push_back(
                make<FloatProperty>(nameOf(random.below(size / 8 + 1)), random.below(40) ? 0.0f : 1.0f));
        const auto isThere = [&](const PropertyPtr& a)
        { return std::any_of(lists[1].begin(), lists[1].end(), [&](const auto& b) { return a->equals(b); }); };
        const bool isEqual = std::all_of(lists[0].begin(), lists[0].end(), isThere);
        numEqual += isEqual;
        EXPECT_EQ(propertiesEqual(lists[0], lists[1]), isEqual) << round;
    }
    EXPECT_TRUE(numEqual > 200 && numEqual < 1800);
}

// Two lists that share objects, against plain vectors and the plain search, while objects change their names.
TEST(PropertyList, IndexNeverShows)
{
    test::Random random(3);
    PropertyList lists[2];
    zr::vector<PropertyPtr> plains[2];
    for (int round = 0; round < 30000; ++round)
    {
        const u32 which = random.below(2);
        PropertyList& list = lists[which];
        auto& plain = plains[which];
        const zr::string name = nameOf(random.below(120));
        const auto find = [&plain](const zr::string& key)
        {
            return std::find_if(plain.begin(), plain.end(), [&](const auto& entry) { return entry->getName() == key; });
        };
        const PropertyPtr property = plain.empty() || random.below(3) ? PropertyPtr(make<UIntProperty>(name, 0u))
                                                                      : plain[random.below(plain.size())];
        const u32 action = random.below(200);
        if (action < 80)
        {
            list.set(property);
            const auto place = find(property->getName());
            if (place == plain.end())
                plain.push_back(property);
            else
                *place = property;
        }
        else if (action < 120 && plain.size() < 90)
            list.push_back(property), plain.push_back(property);
        else if (action < 160 && plain.size() > 60)
            list.erase(7), plain.erase(plain.begin() + 7);
        else if (action < 199)
            property->setName(name.c_str());
        else
            lists[1 - which] = list, plains[1 - which] = plain;
        const auto found = find(name);
        ASSERT_EQ(findProperty(list, name).get(), found == plain.end() ? nullptr : found->get()) << round;
        ASSERT_TRUE(std::equal(plain.begin(), plain.end(), list.begin(), list.end())) << round;
    }
}
