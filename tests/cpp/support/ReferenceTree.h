#pragma once

#include <cmath>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "nodes/ArgAnimationNode.h"
#include "nodes/ArgVisibilityNode.h"

/// The rules of the tree passes as a plain walk over everything for each step.
namespace test::reference
{
using namespace model;
using NodePtr = ObjectPtr<Node>;

inline bool isIdentity(const matrixd& m)
{
    for (int i = 0; i < 16; ++i)
        if (std::abs(m.m[i] - (i % 5 == 0 ? 1.0 : 0.0)) > 9.999999747378752e-06) return false;
    return true;
}

class Tree
{
public:
    explicit Tree(RootNode& rootNode) : root(rootNode) {}

    void optimize()
    {
        for (std::size_t changes = 1; changes > 0;)
        {
            changes = replaceEmptyNodes();
            changes += removeDummyNodes();
            const std::size_t deadEnds = removeDeadEnds();
            changes += deadEnds;
            changes += moveTransforms();
            while (deadEnds > 0 && removeDeadEnds() > 0)
            {
            }
            compact();
        }
        for (const NodePtr& node : deleted)
            node->setName("_DELETED_");
    }

private:
    zr::vector<NodePtr> walk() const { return Node::collect(root.rootTransform); }
    static zr::vector<NodePtr> childrenOf(const Node& node)
    {
        zr::vector<NodePtr> children;
        for (Node* child = node.firstChild(); child; child = child->nextSibling())
            children.push_back(child);
        return children;
    }
    static bool isBelowBarrier(const Node& node) { return !node.parent() || node.parent()->isOptimizationBarrier(); }
    void remove(const NodePtr& node)
    {
        if (node->parent()) node->parent()->remove(node);
        deleted.push_back(node);
    }
    void splice(const NodePtr& node)
    {
        const NodePtr parent = node->parent();
        for (const NodePtr& child : childrenOf(*node))
            parent->insert(child, node);
        remove(node);
    }

    static NodePtr replacementOf(const Node& node)
    {
        const auto* transform = dynamic_cast<const TransformNode*>(&node);
        const auto* visibility = dynamic_cast<const ArgVisibilityNode*>(&node);
        const auto* animation = dynamic_cast<const ArgAnimationNode*>(&node);
        bool isPlain = visibility && visibility->hasNoRanges();
        if (node.getType() == kTransformNode) isPlain = isIdentity(transform->matrix);
        if (animation && animation->hasNoKeys())
        {
            const matrixd m = animation->localMatrix(DummyArguments());
            const bool isBone = node.getType() == kArgAnimatedBone;
            isPlain = !isBone && isIdentity(m);
            const auto replacement = create<TransformNode>(isBone ? "model::Bone" : "model::TransformNode");
            replacement->matrix = m;
            if (!isPlain) return replacement;
        }
        return isPlain ? create<Node>("model::Node") : nullptr;
    }

    std::size_t replaceEmptyNodes()
    {
        std::size_t count = 0;
        for (const NodePtr& old : walk())
        {
            const NodePtr replacement = replacementOf(*old);
            if (!replacement) continue;
            ++count;
            replacement->name = old->name;
            root.replaceControlNode(old.get(), replacement);
            for (const NodePtr& child : childrenOf(*old))
                replacement->insert(child, nullptr);
            if (old->parent())
                old->parent()->insert(replacement, old);
            else
                root.setRootTransform(replacement);
            remove(old);
        }
        return count;
    }

    std::size_t removeDummyNodes()
    {
        std::size_t count = 0;
        for (const NodePtr& node : walk())
        {
            if (node->getType() != kNode || isBelowBarrier(*node)) continue;
            root.replaceControlNode(node.get(), node->parent());
            splice(node);
            ++count;
        }
        return count;
    }

    std::size_t removeDeadEnds()
    {
        zr::vector<NodePtr> candidates;
        for (const NodePtr& node : walk())
            if (!root.isUsed(node.get()) && !isBelowBarrier(*node) && !node->firstChild()) candidates.push_back(node);
        for (const NodePtr& node : candidates)
            splice(node);
        return candidates.size();
    }

    std::size_t moveTransforms()
    {
        std::size_t moved = 0;
        for (const NodePtr& node : walk())
        {
            if (node->getType() != kTransformNode) continue;
            auto& transform = static_cast<TransformNode&>(*node);
            if (isBelowBarrier(transform)) return 0;
            if (!moveUsers(transform, moved)) continue;
            for (const NodePtr& child : childrenOf(transform))
                moved += moveToChild(transform, child);
        }
        return moved;
    }

    bool moveUsers(TransformNode& transform, std::size_t& moved)
    {
        NodePtr place;
        bool areAllMoved = true;
        for (const auto& [user, index] : root.getUsers(&transform))
        {
            const bool isMoved = user->applyMatrix(static_cast<u32>(index), transform.matrix.m);
            areAllMoved &= isMoved;
            if (!isMoved) continue;
            if (!place)
            {
                place = create<Node>("model::Node");
                transform.parent()->insert(place, &transform);
                place->insert(&transform, nullptr);
            }
            user->setControlNode(static_cast<u64>(index), place);
            ++moved;
        }
        return areAllMoved;
    }

    bool moveToChild(TransformNode& transform, const NodePtr& child)
    {
        const int rule = child->transformMoveRule();
        if (rule == 1) return false;
        if (rule == 0) child->applyMatrix(transform.matrix.m);
        if (rule == 2)
        {
            const auto carrier = create<TransformNode>("model::TransformNode");
            carrier->name = transform.name;
            carrier->matrix = transform.matrix;
            root.replaceControlNode(child.get(), carrier);
            for (const NodePtr& below : childrenOf(*child))
                carrier->insert(below, nullptr);
            child->insert(carrier, nullptr);
        }
        transform.parent()->insert(child, &transform);
        return true;
    }

    void compact()
    {
        const NodePtr top = root.rootTransform;
        const zr::vector<NodePtr> children = childrenOf(*top);
        if (top->getType() != kNode || children.size() != 1 || root.isUsed(top.get())) return;
        top->remove(children.front());
        remove(top);
        root.setRootTransform(children.front());
    }

    RootNode& root;
    zr::vector<NodePtr> deleted;
};
} // namespace test::reference
