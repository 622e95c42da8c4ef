#include <limits>

#include "ReferenceMaterials.h"
#include "Scenes.h"
#include "utils/Optimizers.h"

using namespace test;

namespace
{
/// A model whose render nodes have materials that are close to each other in every way that the comparison knows.
class MaterialScenes
{
public:
    explicit MaterialScenes(std::uint64_t seed) : random(seed) {}

    Scene make()
    {
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
            const auto node = create<RenderNode>("model::RenderNode");
            if (random.chance(97)) node->material = materials[random.below(materials.size())];
            scene.root->addRenderNode(node);
        }
        return scene;
    }

private:
    f32 value()
    {
        constexpr f32 kNaN = std::numeric_limits<f32>::quiet_NaN();
        if (random.chance(4)) return random.pick({kNaN, std::numeric_limits<f32>::infinity()});
        return 1.0f + static_cast<f32>(random.below(6)) * 0.6e-5f;
    }

    PropertyPtr makeProperty()
    {
        const auto property = create<IProperty>(
            random.pick({"model::Property<unsigned int>", "model::AnimatedProperty<osg::Vec2f>",
                         "model::Property<osg::Vec3f>", "model::Property<float>", "model::Property<float>"}));
        if (auto* number = dynamic_cast<UIntProperty*>(property.get())) number->value = random.below(2);
        if (auto* number = dynamic_cast<FloatProperty*>(property.get())) number->value = value();
        if (auto* color = dynamic_cast<Vec3fProperty*>(property.get())) color->value = {1.0f, value(), 0.0f};
        if (auto* animated = dynamic_cast<AnimatedVec2fProperty*>(property.get()))
        {
            animated->argument = random.below(2);
            for (unsigned i = random.below(3); i-- > 0;)
                animated->keys.push_back({static_cast<f64>(value()), {value(), value()}});
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
    Scene scene;
    bool isIrregular = false;
    zr::vector<PropertyPtr> properties;
};

TEST(MergeEqualPropertiesSets, DoesWhatTheLoopOverAllPairsDoes)
{
    bool result = false;
    const auto literal = [&](RootNode& root) { result = reference::mergeEqualPropertiesSets(root); };
    const auto pass = [&](RootNode* root) { EXPECT_EQ(mergeEqualPropertiesSets(root), result); };
    compare([](std::uint64_t seed) { return MaterialScenes(seed).make(); }, literal, pass, 10);
}

TEST(OptimizeTextureChannels, SharesWhatComparingWouldAndNothingWhenItFails)
{
    const auto passes = [](RootNode* root, bool isMergedNext)
    {
        u32 repeats = 0;
        optimizeTextureChannels(root, &repeats, isMergedNext);
        mergeEqualPropertiesSets(root);
    };
    const auto literal = [&](RootNode& root) { passes(&root, false); };
    const auto pass = [&](RootNode* root) { passes(root, true); };
    compare([](std::uint64_t seed) { return MaterialScenes(seed).make(); }, literal, pass, 10);
}
} // namespace
