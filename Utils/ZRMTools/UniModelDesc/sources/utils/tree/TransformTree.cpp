#include "utils/tree/TransformTree.h"

#include <cmath>
#include <utility>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "nodes/ArgAnimationNode.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/BaseMeshRenderNode.h"
#include "nodes/Bone.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"

namespace model
{
namespace
{
constexpr f64 kIdentityTolerance = static_cast<f64>(1e-5f);

bool canLoseChildren(const Node* parent)
{
    return parent && !parent->isOptimizationBarrier();
}

ObjectPtr<Node> makeTransform(const matrixd& m)
{
    if (isIdentity(m)) return create<Node>("model::Node");
    const auto node = create<TransformNode>("model::TransformNode");
    node->setMatrix(m);
    return node;
}

/// A bone at rest; its channels, which have no keys, play no part.
ObjectPtr<Node> makeBone(const ArgAnimatedBone& source)
{
    const vec4d& axes = source.baseScaleRotation;
    const vec4d& turn = source.baseRotation;
    matrixd m = multiply(rotationMatrix(axes), scaleMatrix(source.baseScale));
    m = multiply(m, rotationMatrix(inverse(axes)));
    if (turn.x != 0.0 || turn.y != 0.0 || turn.z != 0.0 || turn.w != 1.0) m = multiply(m, rotationMatrix(turn));
    m = multiply(m, translationMatrix(source.basePosition));
    m = multiply(m, source.matrix);

    const auto bone = create<Bone>("model::Bone");
    bone->setMatrix(m);
    bone->setInvertedBaseBoneMatrix(source.getInvertedBaseBoneMatrix());
    return bone;
}
/// All vertices move with each of the control nodes.
bool moveAtOnce(const Vertices& vertices)
{
    const Attribute* positions = vertices.findAttribute(kPosition0);
    return positions && positions->stride == 3;
}

bool dependsOnOrder(const BaseNode& user)
{
    if (const auto* spots = dynamic_cast<const FakeSpotLightsNode*>(&user))
        return !spots->directions.empty() && spots->directions.size() < spots->lights.size();
    if (user.getNumControlNodes() < 2) return false;
    if (const auto* mesh = dynamic_cast<const BaseMeshRenderNode*>(&user)) return moveAtOnce(mesh->vertices);
    if (const auto* points = dynamic_cast<const FakeSpotLights3Node*>(&user)) return moveAtOnce(points->vertices);
    return false;
}
} // namespace

bool isIdentity(const matrixd& matrix)
{
    const matrixd identity;
    for (int i = 0; i < 16; ++i)
        if (std::abs(matrix.m[i] - identity.m[i]) > kIdentityTolerance) return false;
    return true;
}

TransformTree::TransformTree(RootNode& rootNode) : root(rootNode), users(rootNode)
{
    for (const ObjectPtr<BaseNode>& user : root.getAllNodes())
        isWalkOrdered |= user && dependsOnOrder(*user);
    Node::visit(root.rootTransform,
                [this](const ObjectPtr<Node>& node)
                {
                    noteNew(*node);
                    return true;
                });
}

bool TransformTree::isInTree(const Node& node) const
{
    return node.parent() || &node == root.rootTransform.get();
}

void TransformTree::noteNew(Node& node)
{
    switch (node.getType())
    {
    case kTransformNode:
        maybeMovable.push_back(&node);
        [[fallthrough]];
    case kArgVisibilityNode:
    case kArgAnimationNode:
    case kArgAnimatedBone:
        maybeEmpty.push_back(&node);
        break;
    case kNode:
        maybeDummy.push_back(&node);
        break;
    default:
        break;
    }
    noteLeaf(node);
}

void TransformTree::noteUse(Node& node)
{
    if (node.getType() == kTransformNode) maybeMovable.push_back(&node);
}

void TransformTree::noteLeaf(Node& node)
{
    if (!node.firstChild() && !users.isUsed(&node)) maybeDead.push_back(&node);
}

void TransformTree::hang(Node& parent, Node& child, Node* before)
{
    Node* old = child.parent();
    parent.insert(&child, before);
    noteUse(parent);
    if (old) noteLeaf(*old);
}

void TransformTree::hangAllChildren(Node& from, Node& to, Node* before)
{
    if (!from.firstChild()) return;
    while (Node* child = from.firstChild())
        to.insert(child, before);
    noteUse(to);
    noteLeaf(from);
}

void TransformTree::replaceControlNode(Node& from, Node& to)
{
    if (!users.replace(&from, &to)) return;
    noteUse(to);
    noteLeaf(from);
}

void TransformTree::removeNode(Node& node)
{
    deleted.push_back(&node);
    Node* parent = node.parent();
    if (!parent) return;
    parent->remove(&node);
    noteLeaf(*parent);
}

ObjectPtr<Node> TransformTree::replacementOf(const Node& node) const
{
    bool isPlain = false;
    switch (node.getType())
    {
    case kTransformNode:
        isPlain = isIdentity(static_cast<const TransformNode&>(node).getMatrix());
        break;
    case kArgVisibilityNode:
        isPlain = static_cast<const ArgVisibilityNode&>(node).hasNoRanges();
        break;
    case kArgAnimationNode:
        if (const auto& animation = static_cast<const ArgAnimationNode&>(node); animation.hasNoKeys())
            return makeTransform(animation.localMatrix(DummyArguments()));
        break;
    case kArgAnimatedBone:
        if (const auto& bone = static_cast<const ArgAnimatedBone&>(node); bone.hasNoKeys()) return makeBone(bone);
        break;
    default:
        break;
    }
    return isPlain ? create<Node>("model::Node") : nullptr;
}

std::size_t TransformTree::replaceEmptyNodes()
{
    std::size_t count = 0;
    for (Node* noted : std::exchange(maybeEmpty, {}))
    {
        const ObjectPtr<Node> old(noted); // as the top it is held by the root alone
        if (!isInTree(*old)) continue;
        const ObjectPtr<Node> replacement = replacementOf(*old);
        if (!replacement) continue;
        replacement->name = old->name;
        replaceControlNode(*old, *replacement);
        hangAllChildren(*old, *replacement, nullptr);
        if (Node* parent = old->parent())
            hang(*parent, *replacement, old.get());
        else
            root.setRootTransform(replacement);
        removeNode(*old);
        noteNew(*replacement);
        ++count;
    }
    return count;
}

std::size_t TransformTree::removeDummyNodes()
{
    std::size_t count = 0;
    for (Node* node : std::exchange(maybeDummy, {}))
    {
        Node* parent = node->parent();
        if (!canLoseChildren(parent)) continue;
        replaceControlNode(*node, *parent);
        hangAllChildren(*node, *parent, node);
        removeNode(*node);
        ++count;
    }
    return count;
}

std::size_t TransformTree::removeDeadEnds()
{
    std::size_t count = std::exchange(hasEmptiedCarriers, false) ? 1 : 0;
    for (Node* node : std::exchange(maybeDead, {}))
    {
        if (!canLoseChildren(node->parent()) || node->firstChild() || users.isUsed(node)) continue;
        removeNode(*node);
        ++count;
    }
    return count;
}

void TransformTree::compactTop()
{
    const ObjectPtr<Node> top = root.rootTransform;
    if (top->getType() != kNode || !top->firstChild() || top->firstChild() != top->lastChild()) return;
    if (users.isUsed(top.get())) return;
    const ObjectPtr<Node> child = top->firstChild();
    top->remove(child);
    removeNode(*top);
    root.setRootTransform(child);
    if (child->getType() != kTransformNode) return;
    // From now on it ends the walk of `moveTransforms`, and nothing moves any more.
    noteUse(*child);
    emptyPipes();
}

void TransformTree::markDeleted()
{
    for (const ObjectPtr<Node>& node : deleted)
        node->setName("_DELETED_");
}
} // namespace model
