#include <algorithm>
#include <random>

#include <gtest/gtest.h>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "nodes/Connector.h"
#include "nodes/LightNode.h"
#include "nodes/RenderNode.h"
#include "nodes/ShellNode.h"
#include "nodes/TransformNode.h"

using namespace model;

namespace
{
u64 count()
{
    return getObjectRegistry().getCount();
}

ObjectPtr<RootNode> makeRoot()
{
    const auto root = create<RootNode>("model::RootNode");
    root->setRootTransform(create<Node>("model::Node"));
    return root;
}

ObjectPtr<RenderNode> addRender(RootNode& root, MaterialPtr material = nullptr)
{
    const auto node = create<RenderNode>("model::RenderNode");
    node->setMaterial(std::move(material));
    root.addRenderNode(node);
    return node;
}
} // namespace

TEST(RootNode, NewRoot)
{
    const auto root = create<RootNode>("model::RootNode");
    EXPECT_EQ(root->getVersion(), 3u);
    EXPECT_FALSE(root->boundingBox.isSet() || root->userBox.isSet() || root->lightBox.isSet());
    EXPECT_EQ(root->getNumControlNodes(), 0u);
    EXPECT_FALSE(root->getControlNode(0));
    root->setControlNode(5, create<Node>("model::Node"));
    EXPECT_EQ(root->calcNumHandles(), 0u);
    EXPECT_FALSE(root->isUsed(nullptr));
}

TEST(RootNode, FreesItsTree)
{
    const u64 before = count();
    ObjectPtr<Node> kept;
    {
        const auto root = makeRoot();
        for (int i = 0; i < 3; ++i)
        {
            kept = create<Node>("model::Node");
            root->rootTransform->insert(kept, nullptr);
            kept->insert(create<Node>("model::Node"), nullptr);
        }
        addRender(*root)->setControlNode(0, kept);
        EXPECT_EQ(count(), before + 9);
    }
    EXPECT_EQ(count(), before + 1);
    EXPECT_FALSE(kept->parent() || kept->firstChild() || kept->lastChild() || kept->nextSibling() ||
                 kept->prevSibling());
}

TEST(RootNode, LeavesTheTreeItHangsUnder)
{
    const u64 before = count();
    for (const bool innerFirst : {true, false})
    {
        auto outer = makeRoot();
        auto inner = makeRoot();
        const auto left = create<Node>("model::Node");
        const auto right = create<Node>("model::Node");
        outer->rootTransform->insert(left, nullptr);
        outer->rootTransform->insert(inner->rootTransform, nullptr);
        outer->rootTransform->insert(right, nullptr);
        inner->rootTransform->insert(create<Node>("model::Node"), nullptr);
        if (innerFirst)
        {
            inner.release();
            EXPECT_EQ(left->nextSibling(), right.get());
            EXPECT_EQ(right->prevSibling(), left.get());
            outer.release();
        }
        else
        {
            outer.release();
            EXPECT_FALSE(inner->rootTransform->parent() || inner->rootTransform->prevSibling());
            inner.release();
        }
    }
    EXPECT_EQ(count(), before);
}

TEST(RootNode, AMillionNodesDeep)
{
    const u64 before = count();
    {
        const auto root = makeRoot();
        ObjectPtr<Node> deepest = root->rootTransform;
        for (int i = 0; i < 1000000; ++i)
        {
            const auto child = create<TransformNode>("model::TransformNode");
            child->matrix.m[12] = 1.0;
            deepest->insert(child, nullptr);
            deepest = child;
        }
        std::size_t visited = 0;
        Node::visit(root->rootTransform.get(), [&visited](const Node*) { return ++visited > 0; });
        EXPECT_EQ(visited, 1000001u);
        matrixd m;
        deepest->accumulateMatrix(DummyArguments(), m.m);
        EXPECT_EQ(m.m[12], 1000000.0);
        bool visible = true;
        deepest->evalVisibility(DummyArguments(), &visible);
        EXPECT_TRUE(visible);
        EXPECT_EQ(root->calcNumHandles(), 0u);
    }
    EXPECT_EQ(count(), before);
}

// Against a plain search, with nodes that are listed twice, also in another root, and lists that are changed directly.
TEST(RootNode, RemoveRenderNodeTakesTheFirstEntryAndMovesTheLast)
{
    std::mt19937 random(11);
    const auto below = [&random](std::size_t limit)
    { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random); };
    zr::vector<ObjectPtr<RenderNode>> nodes(12);
    for (auto& node : nodes)
        node = create<RenderNode>("model::RenderNode");
    const ObjectPtr<RootNode> roots[2] = {makeRoot(), makeRoot()};
    RootNode::List plains[2];
    for (int round = 0; round < 20000; ++round)
    {
        const std::size_t which = below(2);
        RootNode& root = *roots[which];
        RootNode::List& plain = plains[which];
        const auto& node = nodes[below(nodes.size())];
        if (below(5) < 2)
        {
            root.addRenderNode(node);
            plain.push_back(node);
            EXPECT_EQ(node->root, &root);
        }
        else if (below(20) == 0 && !plain.empty())
        {
            root.renderNodes.erase(root.renderNodes.begin());
            plain.erase(plain.begin());
        }
        else
        {
            root.removeRenderNode(node.get());
            const auto found = std::find(plain.begin(), plain.end(), ObjectPtr<BaseNode>(node));
            if (found != plain.end())
            {
                *found = plain.back();
                plain.pop_back();
            }
        }
        ASSERT_EQ(root.renderNodes, plain) << "round " << round;
    }
    roots[0]->removeRenderNode(nullptr);
}

TEST(RootNode, RemovesManyInLinearTime)
{
    const auto root = makeRoot();
    zr::vector<ObjectPtr<RenderNode>> nodes;
    for (int i = 0; i < 100000; ++i)
        nodes.push_back(addRender(*root));
    for (const auto& node : nodes)
        root->removeRenderNode(node.get());
    EXPECT_TRUE(root->renderNodes.empty());
}

TEST(RootNode, UsersInTheOrderOfAllNodes)
{
    const auto root = makeRoot();
    const auto place = create<Node>("model::Node");
    const auto merged = addRender(*root);
    merged->parents.resize(3);
    merged->parents[0].parent = merged->parents[2].parent = place;
    const auto connector = create<Connector>("model::Connector");
    const auto light = create<LightNode>("model::LightNode");
    const auto shell = create<ShellNode>("model::ShellNode");
    root->addShellNode(shell);
    root->lights.push_back(light);
    root->connectors.push_back(connector);
    for (BaseNode* node : {static_cast<BaseNode*>(connector.get()), static_cast<BaseNode*>(light.get()),
                           static_cast<BaseNode*>(shell.get())})
        node->setControlNode(0, place);
    EXPECT_EQ(shell->root, root.get());
    EXPECT_EQ(root->getAllNodes(), (RootNode::List{connector, light, shell, merged}));

    const zr::vector<RootNode::User> expected{{connector, 0}, {light, 0}, {shell, 0}, {merged, 0}, {merged, 2}};
    EXPECT_EQ(root->getUsers(place.get()), expected);
    EXPECT_TRUE(root->isUsed(place.get()));

    const auto other = create<Node>("model::Node");
    EXPECT_FALSE(root->replaceControlNode(other.get(), place));
    EXPECT_TRUE(root->replaceControlNode(place.get(), other));
    EXPECT_FALSE(root->isUsed(place.get()));
    EXPECT_EQ(root->getUsers(other.get()), expected);
}

TEST(RootNode, MaterialsByIdentityInTheOrderOfUse)
{
    const auto root = makeRoot();
    const MaterialPtr a(new PropertiesSet());
    const MaterialPtr b(new PropertiesSet());
    addRender(*root, b);
    addRender(*root, nullptr);
    addRender(*root, a);
    addRender(*root, b);
    EXPECT_EQ(root->getMaterials(), (zr::vector<MaterialPtr>{b, a}));
    EXPECT_EQ(root->getMaterialIndex(b.get()), 0);
    EXPECT_EQ(root->getMaterialIndex(a.get()), 1);
    EXPECT_EQ(root->getMaterialIndex(nullptr), -1);
    EXPECT_EQ(root->getMaterialIndex(a->clone().get()), -1);
    root->renderNodes.clear();
    EXPECT_TRUE(root->getMaterials().empty());
    EXPECT_EQ(root->getMaterialIndex(a.get()), -1);
}
