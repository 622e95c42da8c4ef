#pragma once

#include "Builders.h"
#include "Describe.h"
#include "Random.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/Bone.h"
#include "nodes/LightNode.h"
#include "nodes/SkinNode.h"
#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace test
{
/// Links own both ways: nodes that have left a tree may hold nothing but each other, and no destructor cuts them.
inline void expectLeak([[maybe_unused]] const Node* node)
{
#ifdef __SANITIZE_ADDRESS__
    __lsan_ignore_object(node);
#endif
}

/// A model and handles on the nodes that it was built of, as a script may hold them.
struct Scene
{
    ObjectPtr<RootNode> root = create<RootNode>("model::RootNode");
    zr::vector<ObjectPtr<Node>> nodes;

    std::string describe() const
    {
        std::string text = test::describe(*root) + "held:";
        for (const ObjectPtr<Node>& node : nodes)
        {
            text.append(" ").append(node->name.c_str());
            for (const Node* linked : {node->parent(), node->prevSibling(), node->nextSibling(), node->lastChild()})
                text.append("/").append(linked ? linked->name.c_str() : "none");
        }
        return text;
    }
};

/// What a scene is to be full of.
enum class About
{
    kTree,  ///< all kinds of nodes and of things that hang on them, on one or several nodes
    kMerge, ///< few materials and places, so that much can be merged and every condition comes up
};

/// Random models. The same seed gives the same scene.
class Scenes
{
public:
    Scenes(About theme, std::uint64_t seed) : random(seed), isMerge(theme == About::kMerge) {}

    Scene make()
    {
        isPlainTop = random.chance(85);
        depth = isMerge ? 20 : random.pick({0u, 0u, 85u, 100u});
        hasPipes = !isMerge && random.chance(30);
        lods = isMerge ? random.pick({5u, 30u, 60u}) : 3;
        isSpecial = random.chance(40);
        const unsigned count = 1 + random.below(random.pick({3u, 8u, 16u}));
        for (unsigned i = 0; i < (hasPipes ? 2 * count : count); ++i)
            addNode();
        scene.root->setRootTransform(scene.nodes.front());
        if (!isMerge && random.chance(10)) hangTop();
        if (isMerge) scene.nodes.push_back(create<Node>("model::Node")); // outside the tree
        for (unsigned i = 0; isMerge && i < 1 + random.below(2); ++i)
            for (const u8 numbers : {u8{0}, u8{1}})
                addMaterial(static_cast<u8>(i), numbers);
        for (unsigned i = random.below(isMerge ? 14 : 7); i-- > 0;)
            addUser();
        return scene;
    }

private:
    /// What a script can do with a transform of its own, which it need not keep.
    void hangTop()
    {
        const ObjectPtr<Node> above = makeNode();
        above->insert(scene.nodes.front(), nullptr);
        if (random.chance(30)) makeNode()->insert(above, nullptr);
        if (random.chance(50)) scene.nodes.push_back(above);
    }

    matrixd matrix()
    {
        matrixd m;
        const unsigned kind = random.below(6);
        if (kind == 1) m.m[random.below(16)] += random.pick({1e-6, 9.999999747378752e-06, 1.1e-5});
        if (kind == 2 || kind == 3) m.m[12] = kind == 2 ? 2.0 : -2.0; // one undoes the other
        for (int i = 0; i < 15 && kind > 3; ++i)
            if (i % 4 != 3) m.m[i] = random.unit() * 4.0 - 2.0;
        return m;
    }

    ObjectPtr<Node> makeNode()
    {
        const bool isLod = random.chance(lods);
        // Above all transforms and visibility nodes: matrices that move for many rounds.
        const bool isPipe = !isLod && hasPipes && random.chance(85);
        const char* name =
            isLod    ? "model::LodNode"
            : isPipe ? random.pick({"model::ArgVisibilityNode", "model::TransformNode"})
                     : random.pick({"model::Node", "model::Node", "model::ArgVisibilityNode", "model::ArgAnimationNode",
                                    "model::Bone", "model::TransformNode", "model::TransformNode",
                                    "model::BillboardNode", "model::ArgAnimatedBone"});
        const auto node = create<Node>(name);
        expectLeak(node.get());
        if (auto* transform = dynamic_cast<TransformNode*>(node.get())) transform->matrix = matrix();
        if (auto* visibility = dynamic_cast<ArgVisibilityNode*>(node.get()); visibility && random.chance(85))
            visibility->arguments = {{5, {{0.0, 1.0}}}};
        if (auto* animation = dynamic_cast<ArgAnimationNode*>(node.get()))
        {
            if (random.chance(30)) animation->basePosition = {0.25, 0.0, 7.0};
            if (random.chance(50)) animation->positionChannels = {{3, {{0.0, {1.0, 2.0, 3.0}}}}};
            if (random.chance(30)) animation->baseRotation = {0.6, 0.0, 0.0, 0.8};
        }
        return node;
    }

    void addNode()
    {
        const bool isTop = scene.nodes.empty();
        const ObjectPtr<Node> node = isTop && isPlainTop ? create<Node>("model::Node") : makeNode();
        node->name = std::to_string(scene.nodes.size()).c_str();
        const bool isBelowLast = random.chance(hasPipes ? 85 : depth);
        const std::size_t last = scene.nodes.size() - 1;
        if (!isTop) scene.nodes[isBelowLast ? last : random.below(scene.nodes.size())]->insert(node, nullptr);
        scene.nodes.push_back(node);
    }

    void addMaterial(u8 id, u8 numbers)
    {
        const MaterialPtr material(new PropertiesSet());
        material->setFormat(0, random.chance(80) ? 4 : 3);
        material->setFormat(21, numbers);
        material->setDecalId(id);
        if (random.chance(15)) material->setBlending(1);
        materials.push_back(material);
    }

    void fill(Vertices& vertices, unsigned count, unsigned parts)
    {
        for (auto& [semantic, attribute] : vertices.getAttributes())
            for (unsigned i = 0; i < count * attribute.stride; ++i)
                attribute.data.push_back(i % attribute.stride == 3 ? static_cast<f32>(random.below(parts))
                                                                   : random.between(-2.0f, 2.0f));
    }

    void fillMesh(BaseMeshRenderNode& mesh, unsigned parts)
    {
        const unsigned count = random.below(4);
        mesh.vertices[0].stride = random.pick({3u, 4u, 4u});
        if (random.chance(50)) mesh.vertices[random.pick({1, 2, 24})].stride = 3;
        if (mesh.material) mesh.vertices.setFormat(mesh.material->vertexFormat);
        fill(mesh.vertices, count, parts);
        for (unsigned i = 0; i < 3 * count; ++i)
            mesh.indices.indices.push_back(random.below(count) + (random.chance(1) ? 3 : 0));
        if (random.chance(5)) mesh.indices.primitiveType = random.pick({0u, 1u, 3u});
    }

    template <class Light>
    void fillLights(zr::vector<Light>& lights, unsigned controls)
    {
        lights.resize(random.below(4));
        for (Light& light : lights)
        {
            light.position = {random.unit(), random.unit(), random.unit()};
            light.controlIndex = random.below(controls) + random.chance(1);
        }
    }

    ObjectPtr<BaseNode> renderUser()
    {
        const auto user = create<BaseRenderNode>(random.pick(
            {"model::RenderNode", "model::RenderNode", "model::FakeOmniLightsNode", "model::FakeSpotLightsNode",
             "model::NumberNode", "model::SkinNode", "model::FakeSpotLights3Node"}));
        const unsigned parts = isMerge && random.chance(95) ? 1 : 1 + random.below(3);
        if (isMerge && !random.chance(isSpecial ? 4 : 0)) user->material = materials[random.below(materials.size())];
        if (auto* render = dynamic_cast<RenderNode*>(user.get())) render->parents.resize(parts);
        if (auto* skin = dynamic_cast<SkinNode*>(user.get())) skin->resizeBones(parts);
        if (auto* mesh = dynamic_cast<BaseMeshRenderNode*>(user.get())) fillMesh(*mesh, parts);
        if (auto* number = dynamic_cast<NumberNode*>(user.get()))
            number->numbers = {zr::vector<NumberControl>(random.below(3), {random.below(9), 0, 0, 0})};
        if (auto* omni = dynamic_cast<FakeOmniLightsNode*>(user.get()))
        {
            omni->controls.resize(parts);
            fillLights(omni->lights, parts);
        }
        if (auto* spots = dynamic_cast<FakeSpotLights3Node*>(user.get()))
        {
            spots->controls.resize(parts);
            spots->vertices[0].stride = random.pick({3u, 4u});
            fill(spots->vertices, random.below(4), parts);
        }
        if (auto* spot = dynamic_cast<FakeSpotLightsNode*>(user.get()))
        {
            spot->controls.resize(parts);
            fillLights(spot->lights, parts);
            // One direction too few now and then: baking and merging raise.
            const bool isShort = !spot->lights.empty() && random.chance(5);
            if (random.chance(60)) spot->directions.resize(spot->lights.size() - isShort, {0, 1, 2});
            if (isSpecial) spot->controls[0].direction.x() = static_cast<f32>(random.below(4)) * 0.6e-5f;
        }
        while (isSpecial && random.chance(20))
        {
            const auto property = create<FloatProperty>("model::Property<float>");
            property->value = static_cast<f32>(random.below(4)) * 0.6e-5f;
            user->properties.push_back(property);
        }
        if (parts == 1 && random.chance(30)) user->setArgument(0, random.below(2));
        return user;
    }

    ObjectPtr<BaseNode> shellUser()
    {
        if (random.chance(30)) return create<LightNode>("model::LightNode");
        const auto segments = create<SegmentsNode>("model::SegmentsNode");
        segments->segments = {{{1, 2, 3}, {4, 5, 6}}};
        if (random.chance(50)) return segments;
        const auto shell = create<ShellNode>("model::ShellNode");
        shell->vertices[0].stride = 3;
        fill(shell->vertices, 2, 1);
        return shell;
    }

    void addUser()
    {
        const bool isShell = random.chance(hasPipes ? 50 : 20);
        const ObjectPtr<BaseNode> user = isShell ? shellUser() : renderUser();
        user->name = std::to_string(++numUsers).c_str();
        const bool isLight = user->getType() == kLightNode;
        RootNode::List& list = isLight   ? scene.root->lights
                               : isShell ? scene.root->shellNodes
                                         : scene.root->renderNodes;
        for (u64 i = 0; i < user->getNumControlNodes(); ++i)
            if (random.chance(97)) user->setControlNode(i, scene.nodes[random.below(scene.nodes.size())]);
        do
            list.push_back(user);
        while (random.chance(5));
    }

    Random random;
    Scene scene;
    zr::vector<MaterialPtr> materials;
    const bool isMerge;
    bool isPlainTop = true;
    bool hasPipes = false;
    bool isSpecial = false;
    unsigned depth = 0;
    unsigned lods = 0;
    unsigned numUsers = 0;
};

/// Runs a literal version and a pass on equal scenes of many seeds: they fail alike, and `least` times at that, and
/// leave the same.
template <class Make, class Literal, class Pass>
void compare(Make make, Literal literal, Pass pass, int least)
{
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 20000; ++seed)
    {
        const Scene expected = make(seed);
        const Scene actual = make(seed);
        const std::string before = actual.describe();
        const std::string failure = raised([&] { literal(*expected.root); });
        ASSERT_EQ(failure, raised([&] { pass(actual.root.get()); })) << "seed " << seed << '\n' << before;
        ASSERT_EQ(expected.describe(), actual.describe()) << "seed " << seed << '\n' << before;
        failures += !failure.empty();
    }
    EXPECT_GE(failures, least) << "the scenes are to bring about failures too";
}
} // namespace test
