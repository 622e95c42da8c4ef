#include <gtest/gtest.h>

#include "ReferenceTree.h"
#include "Scenes.h"
#include "utils/Optimizers.h"

namespace test
{
namespace
{
TEST(OptimizeTransformations, DoesWhatTheLiteralWalksDo)
{
    int failures = 0;
    for (std::uint64_t seed = 1; seed <= 20000; ++seed)
    {
        const Scene expected = Scenes(About::kTree, seed).make();
        const Scene actual = Scenes(About::kTree, seed).make();
        const std::string before = actual.describe();
        const std::string failure = failureOf([&] { reference::Tree(*expected.root).optimize(); });
        ASSERT_EQ(failure, failureOf([&] { optimizeTransformations(actual.root.get()); })) << "seed " << seed << before;
        ASSERT_EQ(expected.describe(), actual.describe()) << "seed " << seed << '\n' << before;
        failures += !failure.empty();
    }
    EXPECT_GT(failures, 10) << "the scenes are to bring about failures too";
}

ObjectPtr<TransformNode> makeChainNode(char kind)
{
    const auto node = create<TransformNode>(kind == 'A' ? "model::ArgAnimationNode" : "model::TransformNode");
    node->matrix.m[12] = 1.0;
    if (auto* animation = dynamic_cast<ArgAnimationNode*>(node.get())) animation->positionChannels = {{1, {{0.0, {}}}}};
    return node;
}

ObjectPtr<Node> makeVisibility()
{
    const auto node = create<ArgVisibilityNode>("model::ArgVisibilityNode");
    node->arguments = {{1, {{0.0, 1.0}}}};
    return node;
}

/// Each of these takes quadratic time when every step walks the tree: minutes and more.
TEST(OptimizeTransformations, IsDoneWithDeepChains)
{
    constexpr int kDepth = 96000;
    for (const std::string pattern : {"T", "V", "TV", "TVV", "TA"})
    {
        const auto root = create<RootNode>("model::RootNode");
        const auto mesh = create<RenderNode>("model::RenderNode");
        mesh->vertices[0] = {{0, 0, 0}, 3};
        root->addRenderNode(mesh);
        root->setRootTransform(create<Node>("model::Node"));
        // From below: the order of creation, and of addresses, must not matter.
        ObjectPtr<Node> above;
        f32 expected = 0;
        for (std::size_t i = kDepth; i-- > 0;)
        {
            const char kind = pattern[i % pattern.size()];
            const ObjectPtr<Node> node = kind == 'V' ? makeVisibility() : ObjectPtr<Node>(makeChainNode(kind));
            expected += kind == 'V' ? 0.0f : 1.0f;
            if (!above) mesh->setControlNode(0, node);
            if (above) node->insert(above, nullptr);
            above = node;
        }
        root->rootTransform->insert(above, nullptr);
        optimizeTransformations(root.get());
        f32 offset = mesh->vertices[0].data[0];
        for (const Node* node = mesh->getControlNode(0).get(); node; node = node->parent())
            if (const auto* animation = dynamic_cast<const ArgAnimationNode*>(node))
                offset += static_cast<f32>(animation->matrix.m[12]);
        EXPECT_EQ(offset, expected) << pattern;
    }
}
} // namespace
} // namespace test
