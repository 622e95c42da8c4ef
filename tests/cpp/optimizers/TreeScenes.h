#pragma once

#include "Describe.h"
#include "Random.h"
#include "base/ObjectRegistry.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/Bone.h"
#include "nodes/Connector.h"
#include "nodes/LightNode.h"
#include "nodes/LodNode.h"

namespace test
{
/// A model and handles on the nodes that it was built of, as a script may hold them.
struct TreeScene
{
    ObjectPtr<RootNode> root = create<RootNode>("model::RootNode");
    zr::vector<ObjectPtr<Node>> nodes;

    std::string describe() const
    {
        std::string text = test::describe(*root) + "held:";
        for (const ObjectPtr<Node>& node : nodes)
            text += std::string(" ") + node->name.c_str();
        return text;
    }
};

/// Random trees with everything that can hang on them. The same seed gives the same scene.
class TreeScenes
{
public:
    explicit TreeScenes(std::uint64_t seed) : random(seed) {}

    TreeScene make()
    {
        const unsigned count = 1 + random.below(random.pick({3u, 8u, 16u}));
        isPlainTop = random.chance(85);
        isChain = random.chance(30);
        hasPipes = random.chance(30);
        for (unsigned i = 0; i < (hasPipes ? 2 * count : count); ++i)
            addNode();
        scene.root->setRootTransform(scene.nodes.front());
        const unsigned users = random.below(7);
        for (unsigned i = 0; i < users; ++i)
            addUser();
        return scene;
    }

private:
    matrixd matrix()
    {
        matrixd m;
        switch (random.below(6))
        {
        case 0:
            break;
        case 1:
            m.m[random.below(16)] += random.pick({1e-6, 9.999999747378752e-06, 1.1e-5});
            break;
        case 2:
            m.m[12] = 2.0;
            break;
        case 3:
            m.m[12] = -2.0; // undoes the one above
            break;
        default:
            for (int row = 0; row < 4; ++row)
                for (int column = 0; column < 3; ++column)
                    m.m[4 * row + column] = random.unit() * 4.0 - 2.0;
        }
        return m;
    }

    ObjectPtr<Node> makeNode()
    {
        // Above all transforms and visibility nodes: matrices that move for many rounds.
        switch (hasPipes && random.chance(85) ? random.pick({3u, 3u, 13u}) : random.below(14))
        {
        case 0:
        case 1:
        case 2:
            return create<Node>("model::Node");
        case 3:
        case 4:
        {
            const auto node = create<ArgVisibilityNode>("model::ArgVisibilityNode");
            if (random.chance(85)) node->arguments = {{5, {{0.0, 1.0}}}};
            return node;
        }
        case 5:
        {
            const auto node = create<ArgAnimationNode>("model::ArgAnimationNode");
            node->matrix = matrix();
            if (random.chance(30)) node->basePosition.x = 1.5;
            if (random.chance(60)) node->positionChannels = {{3, {{0.0, {1.0, 2.0, 3.0}}}}};
            return node;
        }
        case 6:
        {
            const auto bone = create<ArgAnimatedBone>("model::ArgAnimatedBone");
            bone->baseScale = {1.0, 2.0, 3.0};
            bone->baseScaleRotation = {0.5, 0.5, 0.5, 0.5};
            bone->basePosition = {0.25, 0.0, 7.0};
            bone->matrix = matrix();
            bone->invertedBaseBoneMatrix = matrix();
            if (random.chance(30)) bone->rotationChannels = {{3, {{0.0, {}}}}};
            return bone;
        }
        case 7:
            return random.chance(50) ? create<Node>("model::Bone") : create<Node>("model::BillboardNode");
        case 8:
            return random.chance(40) ? create<Node>("model::LodNode") : create<Node>("model::Node");
        default:
        {
            const auto node = create<TransformNode>("model::TransformNode");
            node->matrix = matrix();
            return node;
        }
        }
    }

    void addNode()
    {
        const bool isTop = scene.nodes.empty();
        ObjectPtr<Node> node = isTop && isPlainTop ? create<Node>("model::Node") : makeNode();
        std::string name = "n";
        name += std::to_string(scene.nodes.size()); // g++ 12 warns falsely of "n" + std::to_string(...)
        node->name = name.c_str();
        if (random.chance(20)) node->properties.push_back(create<IProperty>("model::Property<float>"));
        if (!isTop)
        {
            const bool isBelowLast = isChain || (hasPipes && random.chance(85));
            const std::size_t parent = isBelowLast ? scene.nodes.size() - 1 : random.below(scene.nodes.size());
            scene.nodes[parent]->insert(node, nullptr);
        }
        scene.nodes.push_back(node);
    }

    ObjectPtr<Node> anyNode()
    {
        if (random.chance(3)) return nullptr;
        return scene.nodes[random.below(scene.nodes.size())];
    }

    Vertices vertices(unsigned width, unsigned parts)
    {
        Vertices result;
        const unsigned count = 2 + random.below(3);
        result[0].stride = width;
        if (random.chance(50)) result[1].stride = 3;
        for (auto& [semantic, attribute] : result.getAttributes())
            for (unsigned i = 0; i < count; ++i)
                for (unsigned k = 0; k < attribute.stride; ++k)
                    attribute.data.push_back(k == 3 ? static_cast<f32>(random.below(parts))
                                                    : random.between(-2.0f, 2.0f));
        return result;
    }

    template <class Light>
    zr::vector<Light> lights(unsigned controls)
    {
        zr::vector<Light> list(1 + random.below(3));
        for (Light& light : list)
        {
            light.position = {random.unit(), random.unit(), random.unit()};
            light.controlIndex = random.below(controls);
        }
        return list;
    }

    ObjectPtr<BaseNode> renderUser()
    {
        const unsigned parts = 1 + random.below(3);
        switch (random.below(6))
        {
        case 0:
        {
            const auto node = create<FakeOmniLightsNode>("model::FakeOmniLightsNode");
            node->controls.resize(parts);
            node->lights = lights<FakeOmniLight>(parts);
            return node;
        }
        case 1:
        {
            const auto node = create<FakeSpotLightsNode>("model::FakeSpotLightsNode");
            node->controls.resize(parts);
            node->lights = lights<FakeSpotLight>(parts);
            // One direction too few now and then: baking raises.
            if (random.chance(60)) node->directions.resize(node->lights.size() - random.chance(10), {0, 1, 2});
            return node;
        }
        case 2:
        {
            const auto node = create<SkinNode>("model::SkinNode");
            node->resizeBones(parts);
            node->vertices = vertices(4, parts);
            return node;
        }
        default:
        {
            const auto node = create<RenderNode>("model::RenderNode");
            node->parents.resize(parts);
            node->vertices = vertices(random.pick({3u, 4u, 4u}), parts);
            return node;
        }
        }
    }

    ObjectPtr<BaseNode> shellUser()
    {
        if (random.chance(50))
        {
            const auto node = create<SegmentsNode>("model::SegmentsNode");
            node->segments = {{{1, 2, 3}, {4, 5, 6}}};
            return node;
        }
        const auto node = create<ShellNode>("model::ShellNode");
        node->vertices = vertices(3, 1);
        return node;
    }

    void addUser()
    {
        ObjectPtr<BaseNode> user;
        RootNode::List* list = &scene.root->renderNodes;
        switch (hasPipes && random.chance(30) ? 0 : random.below(8))
        {
        case 0:
            user = create<LightNode>("model::LightNode");
            list = &scene.root->lights;
            break;
        case 1:
            user = create<Connector>("model::Connector");
            list = &scene.root->connectors;
            break;
        case 2:
            user = shellUser();
            list = &scene.root->shellNodes;
            break;
        default:
            user = renderUser();
        }
        for (u64 i = 0; i < user->getNumControlNodes(); ++i)
            user->setControlNode(i, anyNode());
        list->push_back(user);
        if (random.chance(5)) list->push_back(user);
    }

    Random random;
    TreeScene scene;
    bool isPlainTop = true;
    bool isChain = false;
    bool hasPipes = false;
};
} // namespace test
