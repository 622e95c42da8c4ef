#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "base/ObjectRegistry.h"
#include "materials/PropertiesSet.h"

using namespace model;

namespace
{
constexpr f32 kNaN = std::numeric_limits<f32>::quiet_NaN();
constexpr f32 kInfinity = std::numeric_limits<f32>::infinity();

template <class P, class V>
ObjectPtr<P> make(const char* className, const char* name, const V& value)
{
    const auto property = create<P>(className);
    property->setName(name);
    property->setValue(value);
    return property;
}

PropertyPtr number(const char* name, f32 value)
{
    return make<FloatProperty>("model::Property<float>", name, value);
}
PropertyPtr integer(const char* name, u32 value)
{
    return make<UIntProperty>("model::Property<unsigned int>", name, value);
}
PropertyPtr vector2(const char* name, const vec2f& value)
{
    return make<Vec2fProperty>("model::Property<osg::Vec2f>", name, value);
}
PropertyPtr vector4(const char* name, const vec4f& value)
{
    return make<Vec4fProperty>("model::Property<osg::Vec4f>", name, value);
}
PropertyPtr text(const char* name, const char* value)
{
    return make<StringProperty>("model::Property<const char*>", name, zr::string(value));
}
PropertyPtr argument(const char* name, u32 value)
{
    return make<ArgumentProperty>("model::ArgumentProperty", name, value);
}
PropertyPtr animation(const char* name, u32 handle, Keys<f32> keys)
{
    const auto property = create<AnimatedFloatProperty>("model::AnimatedProperty<float>");
    property->setName(name);
    property->setArgument(handle);
    property->setKeys(std::move(keys));
    return property;
}

PropertyList listOf(std::initializer_list<PropertyPtr> properties)
{
    PropertyList list;
    for (const PropertyPtr& property : properties)
        list.push_back(property);
    return list;
}

zr::vector<zr::string> textsOf(const PropertyList& list)
{
    zr::vector<zr::string> texts;
    for (const PropertyPtr& property : list)
        texts.push_back(property->toString());
    return texts;
}
} // namespace

TEST(Property, Equals)
{
    struct Case
    {
        PropertyPtr a;
        PropertyPtr b;
        bool isEqual;
    };
    const Case cases[] = {
        {number("p", 1.0f), number("p", 1.000005f), true},
        {number("p", 1.0f), number("p", 1.0001f), false},
        {number("p", 1.0f), number("q", 1.0f), false},
        {number("p", 1.0f), integer("p", 1), false},
        {number("p", kNaN), number("p", kNaN), false},
        {number("p", kInfinity), number("p", kInfinity), false},
        {number("p", 0.0f), number("p", 1e-5f), true},
        {integer("p", 7), integer("p", 7), true},
        {integer("p", 7), integer("p", 8), false},
        {vector2("p", {1, 2}), vector2("p", {1, 2.000001f}), true},
        {vector2("p", {1, 2}), vector2("p", {1, 3}), false},
        {vector4("p", {1, 2, 3, 4}), vector4("p", {1, 2, 3, 4.1f}), false},
        {text("p", "a"), text("p", "a"), true},
        {text("p", "a"), text("p", "A"), false},
        {argument("p", 3), argument("p", 3), true},
        {argument("p", 3), argument("p", 4), false},
        {animation("p", 3, {{0, 1}, {1, 2}}), animation("p", 3, {{0.000009, 1}, {1, 2.000009f}}), true},
        {animation("p", 3, {{0, 1}, {1, 2}}), animation("p", 4, {{0, 1}, {1, 2}}), false},
        {animation("p", 3, {{0, 1}, {1, 2}}), animation("p", 3, {{0, 1}}), false},
        {animation("p", 3, {{0, 1}}), animation("p", 3, {{0.00002, 1}}), false},
        {animation("p", 3, {{0, 1}}), animation("p", 3, {{0, 1.1f}}), false},
        {animation("p", 3, {}), argument("p", 3), false},
        {number("p", 1.0f), nullptr, false},
    };
    for (const Case& entry : cases)
    {
        EXPECT_EQ(entry.a->equals(entry.b), entry.isEqual) << entry.a->toString();
        if (entry.b)
        {
            EXPECT_EQ(entry.b->equals(entry.a), entry.isEqual) << entry.a->toString();
        }
    }
}

TEST(Property, ToString)
{
    const auto color = create<AnimatedVec3fProperty>("model::AnimatedProperty<osg::Vec3f>");
    color->setName("color");
    color->setArgument(5);
    color->setKeys({{0.0, {1, 0, 0}}, {1.0, {0, 0, 0}}});
    const std::pair<PropertyPtr, const char*> cases[] = {
        {number("name", 0.5f), "name = 0.500000;"},
        {number("name", -0.0f), "name = -0.000000;"},
        {number("name", 3e38f), "name = 300000000549775575777803994281145270272.000000;"},
        {number("name", kInfinity), "name = inf;"},
        {number("name", kNaN), "name = nan;"},
        {integer("", 0xFFFFFFFFu), " = 4294967295;"},
        {vector2("v", {1, -2}), "v = vec2(1.000000,-2.000000);"},
        {vector4("v", {1, 2, 3, 4}), "v = vec4(1.000000,2.000000,3.000000,4.000000);"},
        {text("s", "a \"b\""), "s = \"a \"b\"\";"},
        {argument("a", 7), "a = argument(7);"},
        {animation("name", 5, {}), "name = animation(5,);"},
        {animation("name", 5, {{0.5, 2}}), "name = animation(5, 0.500000,2.000000);"},
        {color, "color = animation(5, 0.000000,vec3(1.000000,0.000000,0.000000),1.000000,vec3(0.000000,0.000000,"
                "0.000000));"},
    };
    for (const auto& [property, expected] : cases)
        EXPECT_EQ(property->toString(), expected);
}

TEST(Property, NumbersPrintAsTheCLibraryDoes)
{
    std::mt19937_64 random(5);
    for (int i = 0; i < 20000; ++i)
    {
        const f64 time = std::bit_cast<f64>(random());
        if (std::isnan(time)) continue;
        char expected[400];
        std::snprintf(expected, sizeof(expected), "n = animation(1, %f,%f);", time, 0.25);
        ASSERT_EQ(animation("n", 1, {{time, 0.25f}})->toString(), expected);
    }
}

TEST(PropertyList, EqualityIsDirected)
{
    const PropertyPtr a = number("a", 1);
    const PropertyPtr b = number("b", 2);
    EXPECT_TRUE(propertiesEqual(listOf({a, b}), listOf({number("b", 2), number("a", 1)})));
    EXPECT_TRUE(propertiesEqual(listOf({a, a}), listOf({a, b}))) << "one entry answers for two";
    EXPECT_FALSE(propertiesEqual(listOf({a, b}), listOf({a, a})));
    EXPECT_FALSE(propertiesEqual(listOf({a}), listOf({a, a})));
    EXPECT_TRUE(propertiesEqual({}, {}));
}

TEST(PropertyList, LongListsCompareLikeShortOnes)
{
    PropertyList a;
    PropertyList b;
    for (int i = 0; i < 20000; ++i)
    {
        a.push_back(number(std::to_string(i).c_str(), static_cast<f32>(i)));
        b.push_back(number(std::to_string(19999 - i).c_str(), static_cast<f32>(19999 - i)));
    }
    EXPECT_TRUE(propertiesEqual(a, b));
    b.set(number("777", 778));
    EXPECT_FALSE(propertiesEqual(a, b));
    b.push_back(number("777", 777));
    a.push_back(number("777", 777));
    EXPECT_TRUE(propertiesEqual(a, b)) << "the second of a name counts too";
    EXPECT_FALSE(propertiesEqual(b, a));
}

TEST(PropertyList, ReportsArgumentsInOrder)
{
    const PropertyList list = listOf(
        {argument("a", 9), number("b", 1), animation("c", kNoArgument, {}), animation("d", 2, {}), argument("e", 9)});
    zr::vector<u32> seen;
    forEachArgument(list, [&seen](u32 handle) { seen.push_back(handle); });
    EXPECT_EQ(seen, (zr::vector<u32>{9, 2, 9}));
}

// Two lists that share objects, against plain vectors and the plain search, while objects change their names.
TEST(PropertyList, IndexNeverShows)
{
    using Plain = zr::vector<PropertyPtr>;
    const auto findIn = [](const Plain& plain, const zr::string& name)
    {
        return std::find_if(plain.begin(), plain.end(),
                            [&](const PropertyPtr& entry) { return entry->getName() == name; });
    };
    std::mt19937 random(3);
    const auto below = [&random](std::size_t limit)
    { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); };
    const auto randomName = [&]
    {
        std::string name = "a name of some length ";
        name += std::to_string(below(120));
        return name;
    };

    PropertyList lists[2];
    Plain plains[2];
    for (int round = 0; round < 30000; ++round)
    {
        const std::size_t which = below(2);
        PropertyList& list = lists[which];
        Plain& plain = plains[which];
        const std::string name = randomName();
        switch (below(8))
        {
        case 0:
        case 1:
        case 2:
        {
            const PropertyPtr property =
                plain.empty() || below(3) ? number(name.c_str(), static_cast<f32>(round)) : plain[below(plain.size())];
            const auto found = findIn(plain, property->getName());
            const auto place = found - plain.begin();
            if (found == plain.end())
                plain.push_back(property);
            else
                plain[static_cast<std::size_t>(place)] = property;
            list.set(property);
            break;
        }
        case 3:
            if (plain.size() < 90)
            {
                const PropertyPtr property = number(name.c_str(), static_cast<f32>(round));
                plain.push_back(property);
                list.push_back(property);
            }
            break;
        case 4:
            if (plain.size() > 60)
            {
                const std::size_t place = below(plain.size());
                plain.erase(plain.begin() + static_cast<std::ptrdiff_t>(place));
                list.erase(place);
            }
            break;
        case 5:
            if (!plain.empty()) plain[below(plain.size())]->setName(name.c_str());
            break;
        case 6:
            if (below(50) == 0)
            {
                lists[1 - which] = list;
                plains[1 - which] = plain;
            }
            break;
        default:
            break;
        }
        const std::string wanted = randomName();
        const auto found = findIn(plain, wanted.c_str());
        ASSERT_EQ(findProperty(list, wanted), found == plain.end() ? nullptr : *found) << "round " << round;
        ASSERT_EQ(list.size(), plain.size());
        ASSERT_TRUE(std::equal(list.begin(), list.end(), plain.begin())) << "round " << round;
    }
}

TEST(PropertyList, ManySettersTakeLinearTime)
{
    PropertyList list;
    for (int i = 0; i < 200000; ++i)
        list.set(number(std::to_string(i).c_str(), 0));
    for (int i = 0; i < 200000; ++i)
        list.set(number(std::to_string(i).c_str(), 1));
    EXPECT_EQ(list.size(), 200000u);
    EXPECT_EQ(textsOf(list).back(), "199999 = 1.000000;");
    EXPECT_THROW(list[200000], std::out_of_range);
    EXPECT_THROW(list.erase(200000), std::out_of_range);
}

TEST(PropertiesSet, IsEqual)
{
    using Change = void (*)(PropertiesSet&);
    struct Case
    {
        const char* what;
        Change change;
        bool isEqual;
    };
    const Case cases[] = {
        {"nothing", [](PropertiesSet&) {}, true},
        {"single sided", [](PropertiesSet& set) { set.setSingleSided(false); }, true},
        {"matrix of an unused slot", [](PropertiesSet& set) { set.textures[5].matrix.m[0] = 2; }, true},
        {"index of an unused slot", [](PropertiesSet& set) { set.textures[5].textureIndex = 2; }, true},
        {"order of properties",
         [](PropertiesSet& set)
         {
             const PropertyPtr first = set.properties[0];
             set.properties.erase(0);
             set.properties.push_back(first);
         },
         true},
        {"nearly the same matrix", [](PropertiesSet& set) { set.textures[0].matrix.m[3] = 9e-6f; }, true},
        {"name", [](PropertiesSet& set) { set.setName("n"); }, false},
        {"blending", [](PropertiesSet& set) { set.setBlending(2); }, false},
        {"format", [](PropertiesSet& set) { set.setFormat(26, 1); }, false},
        {"channel", [](PropertiesSet& set) { set.setChannel(12, 0); }, false},
        {"material name", [](PropertiesSet& set) { set.setMaterialName("m"); }, false},
        {"depth bias", [](PropertiesSet& set) { set.depthBias = 1; }, false},
        {"shadow", [](PropertiesSet& set) { set.setCastsShadow(false); }, false},
        {"second shadow", [](PropertiesSet& set) { set.setShadowFlag2(true); }, false},
        {"decal", [](PropertiesSet& set) { set.setDecalId(1); }, false},
        {"billboard", [](PropertiesSet& set) { set.billboard = 1; }, false},
        {"billboard mode 1", [](PropertiesSet& set) { set.billboardMode1 = 1; }, false},
        {"billboard mode 2", [](PropertiesSet& set) { set.billboardMode2 = 1; }, false},
        {"used slot", [](PropertiesSet& set) { set.setTexture(5, "t"); }, false},
        {"texture name", [](PropertiesSet& set) { set.setTexture(0, "T.png"); }, false},
        {"sampler", [](PropertiesSet& set) { set.textures[0].sampler[3] = 1; }, false},
        {"texture index", [](PropertiesSet& set) { set.textures[0].textureIndex = 1; }, false},
        {"matrix", [](PropertiesSet& set) { set.textures[0].matrix.m[15] = 1.1f; }, false},
        {"NaN in a matrix", [](PropertiesSet& set) { set.textures[0].matrix.m[15] = kNaN; }, false},
        {"property", [](PropertiesSet& set) { set.properties.set(number("b", 3)); }, false},
        {"more properties", [](PropertiesSet& set) { set.properties.set(number("c", 3)); }, false},
    };
    const MaterialPtr original(new PropertiesSet());
    original->setTexture(0, "t.png");
    original->properties = listOf({number("a", 1), number("b", 2)});
    for (const Case& entry : cases)
    {
        const MaterialPtr changed = original->clone();
        entry.change(*changed);
        EXPECT_EQ(original->isEqual(*changed), entry.isEqual) << entry.what;
        EXPECT_EQ(changed->isEqual(*original), entry.isEqual) << entry.what;
    }
}

TEST(PropertiesSet, CloneSharesThePropertiesAndCopiesTheRest)
{
    const MaterialPtr original(new PropertiesSet());
    original->properties = listOf({number("a", 1)});
    original->setTexture(3, "t.png");
    original->textures[3].matrix.m[12] = 0.5f;
    original->setSingleSided(false);
    const MaterialPtr copy = original->clone();
    EXPECT_EQ(copy->properties[0], original->properties[0]);
    EXPECT_EQ(copy->textures[3].matrix.m[12], 0.5f);
    EXPECT_EQ(copy->singleSided, 0);

    TextureSlot slot;
    slot.matrix.m[0] = 7.0f;
    slot = original->textures[3];
    EXPECT_EQ(slot.name, "t.png");
    EXPECT_EQ(slot.matrix.m[0], 7.0f) << "an assignment leaves the matrix";
}

TEST(PropertiesSet, ArraysAreChecked)
{
    PropertiesSet set;
    EXPECT_THROW(set.setTexture(19, "t"), std::out_of_range);
    EXPECT_THROW(set.setFormat(27, 1), std::out_of_range);
    EXPECT_THROW(set.setChannel(13, 1), std::out_of_range);
}
