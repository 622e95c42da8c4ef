#include <gtest/gtest.h>

#include "Describe.h"
#include "Random.h"
#include "ReferenceMerge.h"
#include "utils/Optimizers.h"

namespace test
{
namespace
{
/// Random models with few materials, so that much can be merged and every condition comes up.
class MergeScenes
{
public:
    explicit MergeScenes(std::uint64_t seed) : random(seed) {}

    ObjectPtr<RootNode> make()
    {
        const auto root = create<RootNode>("model::RootNode");
        lods = random.pick({5u, 30u, 60u});
        for (unsigned i = 1 + random.below(14); i-- > 0;)
            addNode();
        root->setRootTransform(nodes.front());
        const auto outside = create<Node>("model::Node");
        nodes.push_back(outside);
        for (unsigned i = 0; i < 1 + random.below(2); ++i)
            for (const u8 numbers : {u8{0}, u8{1}})
            {
                materials.emplace_back(new PropertiesSet());
                materials.back()->setFormat(0, random.chance(80) ? 4 : 3);
                materials.back()->setFormat(21, numbers);
                materials.back()->setDecalId(static_cast<u8>(i));
                if (random.chance(15)) materials.back()->setBlending(1);
            }
        areSpecial = random.chance(40);
        for (unsigned i = random.below(14); i-- > 0;)
        {
            const ObjectPtr<BaseNode> node = makeRenderNode();
            root->addRenderNode(node);
            while (random.chance(10))
                root->addRenderNode(node);
        }
        if (random.chance(20)) root->addShellNode(create<BaseNode>("model::ShellNode"));
        return root;
    }

private:
    void addNode()
    {
        const char* name = "model::Node";
        if (random.chance(lods))
            name = "model::LodNode";
        else if (random.chance(15))
            name = "model::ArgVisibilityNode";
        else if (random.chance(6))
            name = "model::BillboardNode";
        const auto node = create<Node>(name);
        if (!nodes.empty()) nodes[random.below(nodes.size())]->insert(node, nullptr);
        nodes.push_back(node);
    }

    void fill(BaseMeshRenderNode& node)
    {
        if (!node.material) return;
        const unsigned count = random.below(4);
        node.vertices.setFormat(node.material->vertexFormat);
        for (auto& [semantic, attribute] : node.vertices.getAttributes())
            for (unsigned i = 0; i < count * attribute.stride; ++i)
                attribute.data.push_back(i % 4 == 3 && semantic == 0 ? 0.0f : static_cast<f32>(random.below(5)));
        for (unsigned i = 0; i < 3 * count; ++i)
            node.indices.indices.push_back(random.below(count));
        if (random.chance(5)) node.indices.primitiveType = random.pick({0u, 1u, 3u});
    }

    template <class Light>
    void fillLights(zr::vector<Light>& lights)
    {
        lights.resize(random.below(3));
        for (Light& light : lights)
        {
            light.size = static_cast<f32>(random.below(9));
            light.controlIndex = random.chance(98) ? 0 : 1;
        }
    }

    void fillSpot(FakeSpotLightsNode& node)
    {
        fillLights(node.lights);
        if (random.chance(50)) node.directions.resize(node.lights.size() - (!node.lights.empty() && random.chance(5)));
        if (areSpecial) node.controls[0].direction.x() = static_cast<f32>(random.below(4)) * 0.6e-5f;
    }

    ObjectPtr<BaseNode> makeRenderNode()
    {
        const char* names[] = {"model::RenderNode",         "model::FakeOmniLightsNode", "model::FakeSpotLightsNode",
                               "model::NumberNode",         "model::SkinNode",           "model::RenderNode",
                               "model::FakeSpotLights3Node"};
        const auto node = create<BaseRenderNode>(names[random.below(7)]);
        if (!random.chance(areSpecial ? 4 : 1)) node->material = materials[random.below(materials.size())];
        node->name = std::to_string(++numNodes).c_str();
        if (auto* mesh = dynamic_cast<BaseMeshRenderNode*>(node.get())) fill(*mesh);
        if (auto* omni = dynamic_cast<FakeOmniLightsNode*>(node.get())) fillLights(omni->lights);
        if (auto* spot = dynamic_cast<FakeSpotLightsNode*>(node.get())) fillSpot(*spot);
        if (auto* render = dynamic_cast<RenderNode*>(node.get()))
        {
            if (random.chance(5)) render->parents.resize(random.below(3));
            if (!render->parents.empty()) render->setArgument(0, random.below(2));
        }
        if (auto* number = dynamic_cast<NumberNode*>(node.get()))
            number->numbers = {zr::vector<NumberControl>(random.below(3), {random.below(9), 0, 0, 0})};
        for (u64 i = 0; i < node->getNumControlNodes(); ++i)
            if (random.chance(97)) node->setControlNode(i, nodes[random.below(nodes.size())]);
        while (areSpecial && random.chance(30))
        {
            const auto property = create<FloatProperty>("model::Property<float>");
            property->value = static_cast<f32>(random.below(4)) * 0.6e-5f;
            node->properties.push_back(property);
        }
        return node;
    }

    Random random;
    unsigned lods = 0;
    unsigned numNodes = 0;
    bool areSpecial = false;
    zr::vector<ObjectPtr<Node>> nodes;
    zr::vector<MaterialPtr> materials;
};

TEST(MergeNodes, DoesWhatTheSearchThroughAllGroupsDoes)
{
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 20000; ++seed)
    {
        const auto expected = MergeScenes(seed).make();
        const auto actual = MergeScenes(seed).make();
        const std::string before = describe(*expected);
        const std::string failure = failureOf([&] { reference::mergeNodes(*expected); });
        ASSERT_EQ(failure, failureOf([&] { mergeNodes(actual.get()); })) << "seed " << seed << '\n' << before;
        ASSERT_EQ(describe(*expected), describe(*actual)) << "seed " << seed << '\n' << before;
        failures += !failure.empty();
    }
    EXPECT_GT(failures, 50) << "the scenes are to bring about failures too";
}
} // namespace
} // namespace test
