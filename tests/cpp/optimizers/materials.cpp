#include <limits>

#include <gtest/gtest.h>

#include "Describe.h"
#include "Random.h"
#include "ReferenceMaterials.h"
#include "base/ObjectRegistry.h"
#include "utils/Optimizers.h"
#include "utils/materials/MaterialKeys.h"

namespace test
{
namespace
{
/// A model whose render nodes have materials that are close to each other in every way that the comparison knows.
class MaterialScenes
{
public:
    explicit MaterialScenes(std::uint64_t seed) : random(seed) {}

    ObjectPtr<RootNode> make()
    {
        const auto root = create<RootNode>("model::RootNode");
        isIrregular = random.chance(40);
        for (unsigned i = 2 + random.below(5); i-- > 0;)
            properties.push_back(makeProperty());
        zr::vector<MaterialPtr> materials;
        for (unsigned i = 1 + random.below(8); i-- > 0;)
            materials.push_back(!materials.empty() && random.chance(30)
                                    ? materials[random.below(materials.size())]->clone()
                                    : makeMaterial());
        for (unsigned i = random.below(20); i-- > 0;)
        {
            const auto node =
                create<BaseRenderNode>(random.chance(80) ? "model::RenderNode" : "model::FakeOmniLightsNode");
            if (random.chance(97)) node->material = materials[random.below(materials.size())];
            root->addRenderNode(node);
        }
        return root;
    }

private:
    f32 value()
    {
        if (random.chance(3)) return std::numeric_limits<f32>::quiet_NaN();
        if (random.chance(2)) return std::numeric_limits<f32>::infinity();
        return 1.0f + static_cast<f32>(random.below(6)) * 0.6e-5f;
    }

    PropertyPtr makeProperty()
    {
        PropertyPtr property;
        switch (random.below(6))
        {
        case 0:
            property = create<IProperty>("model::Property<unsigned int>");
            dynamic_cast<UIntProperty&>(*property).value = random.below(2);
            break;
        case 1:
        {
            const auto keys = create<AnimatedVec2fProperty>("model::AnimatedProperty<osg::Vec2f>");
            keys->argument = random.below(2);
            for (unsigned i = random.below(3); i-- > 0;)
                keys->keys.push_back({static_cast<f64>(value()), {value(), value()}});
            property = keys;
            break;
        }
        case 2:
        {
            const auto color = create<Vec3fProperty>("model::Property<osg::Vec3f>");
            color->value = {1.0f, value(), 0.0f};
            property = color;
            break;
        }
        default:
        {
            const auto number = create<FloatProperty>("model::Property<float>");
            number->value = value();
            property = number;
        }
        }
        property->setName(random.pick({"a", "b", "c", "d"}));
        return property;
    }

    MaterialPtr makeMaterial()
    {
        MaterialPtr material(new PropertiesSet());
        if (random.chance(10)) material->setName("other");
        if (random.chance(10)) material->castsShadow = 0;
        if (random.chance(10)) material->singleSided = 0;
        if (random.chance(10)) material->depthBias = 1;
        if (random.chance(10)) material->setChannel(2, 1);
        if (random.chance(10)) material->setTexture(3, "map");
        // The matrix of an unused slot plays no part.
        if (random.chance(20)) material->textures[3].matrix.m[0] += static_cast<f32>(random.below(4)) * 0.6e-5f;
        for (unsigned i = random.below(4); i-- > 0;)
        {
            const PropertyPtr& property = properties[random.below(properties.size())];
            if (isIrregular)
                material->properties.push_back(property);
            else
                material->properties.set(property);
        }
        return material;
    }

    Random random;
    bool isIrregular = false;
    zr::vector<PropertyPtr> properties;
};

TEST(MergeEqualPropertiesSets, DoesWhatTheLoopOverAllPairsDoes)
{
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 20000; ++seed)
    {
        const auto expected = MaterialScenes(seed).make();
        const auto actual = MaterialScenes(seed).make();
        bool expectedResult = false;
        bool result = false;
        const std::string failure = failureOf([&] { expectedResult = reference::mergeEqualPropertiesSets(*expected); });
        ASSERT_EQ(failure, failureOf([&] { result = mergeEqualPropertiesSets(actual.get()); })) << "seed " << seed;
        ASSERT_EQ(expectedResult, result) << "seed " << seed;
        ASSERT_EQ(describe(*expected), describe(*actual)) << "seed " << seed;
        failures += !failure.empty();
    }
    EXPECT_GT(failures, 10) << "the scenes are to bring about the failure too";
}

TEST(PartByTolerance, PartsAtGapsOnly)
{
    const f64 nan = std::numeric_limits<f64>::quiet_NaN();
    const zr::vector<zr::vector<f64>> rows{{0.0, 5.0}, {0.9, 5.0}, {1.8, 5.0}, {9.0, 5.0}, {0.0, 7.0}, {nan, 5.0}};
    zr::vector<const zr::vector<f64>*> pointers;
    for (const auto& row : rows)
        pointers.push_back(&row);
    const zr::vector<u32> classes = partByTolerance(pointers, 1.0);
    EXPECT_EQ(classes[0], classes[1]);
    EXPECT_EQ(classes[1], classes[2]);
    EXPECT_NE(classes[2], classes[3]);
    EXPECT_NE(classes[0], classes[4]);
}

PropertyPtr number(const char* name, f32 value)
{
    const auto property = create<FloatProperty>("model::Property<float>");
    property->value = value;
    property->setName(name);
    return property;
}

/// {a, a} equals {a, b}, but not the other way round. Only the order a b a of the nodes brings that to light: the
/// second material is new when it is looked at, and stands in front of the first one's last node.
TEST(MergeEqualPropertiesSets, TellsOfEqualityThatTheOrderHid)
{
    const PropertyPtr a = number("a", 1.0f);
    MaterialPtr pair(new PropertiesSet());
    pair->properties.push_back(a);
    pair->properties.push_back(number("b", 2.0f));
    MaterialPtr twice(new PropertiesSet());
    twice->properties.push_back(a);
    twice->properties.push_back(a);
    for (const bool isHidden : {false, true})
    {
        const auto root = create<RootNode>("model::RootNode");
        for (const MaterialPtr& material : {pair, twice, isHidden ? twice : pair})
        {
            const auto node = create<BaseRenderNode>("model::RenderNode");
            node->material = material;
            root->addRenderNode(node);
        }
        EXPECT_EQ(failureOf([&] { mergeEqualPropertiesSets(root.get()); }),
                  isHidden ? "" : "raised There is still equal properties sets.");
    }
}
} // namespace
} // namespace test
