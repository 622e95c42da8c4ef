#include "utils/tree/NotedTree.h"

#include <utility>

namespace model::utils
{
NotedTree::NotedTree(RootNode& rootNode) : root(rootNode), users(rootNode)
{
    for (Node* node = top().parent(); node; node = node->parent())
        above.emplace_back(node);
    noteAll();
}

zr::vector<Node*> NotedTree::take(Work work)
{
    if (isHung()) noteAll();
    return std::exchange(notes[work], {});
}

void NotedTree::noteAll()
{
    for (zr::vector<Node*>& list : notes)
        list.clear();
    Node::visit(root.rootTransform,
                [this](const ObjectPtr<Node>& node)
                {
                    noteNew(*node);
                    return true;
                });
}

void NotedTree::noteNew(Node& node)
{
    switch (node.getType())
    {
    case kTransformNode:
        note(kMaybeMovable, node);
        [[fallthrough]];
    case kArgVisibilityNode:
    case kArgAnimationNode:
    case kArgAnimatedBone:
        note(kMaybeEmpty, node);
        break;
    case kNode:
        note(kMaybeDummy, node);
        break;
    default:
        break;
    }
    noteLeaf(node);
}

void NotedTree::noteUse(Node& node)
{
    if (node.getType() == kTransformNode) note(kMaybeMovable, node);
}

void NotedTree::noteLeaf(Node& node)
{
    if (!node.firstChild() && !users.isUsed(&node)) note(kMaybeDead, node);
}

void NotedTree::hang(Node& parent, Node& child, Node* before)
{
    Node* old = child.parent();
    parent.insert(&child, before);
    noteUse(parent);
    if (old) noteLeaf(*old);
}

void NotedTree::hangAllChildren(Node& from, Node& to, Node* before)
{
    if (!from.firstChild()) return;
    while (Node* child = from.firstChild())
        to.insert(child, before);
    noteUse(to);
    noteLeaf(from);
}

void NotedTree::removeNode(Node& node)
{
    deleted.emplace_back(&node);
    Node* parent = node.parent();
    if (!parent) return;
    parent->remove(&node);
    noteLeaf(*parent);
}

void NotedTree::replaceControlNode(Node& from, Node& to)
{
    if (!users.replace(&from, &to)) return;
    noteUse(to);
    noteLeaf(from);
}

void NotedTree::nameDeleted()
{
    for (const ObjectPtr<Node>& node : deleted)
        node->setName("_DELETED_");
}
} // namespace model::utils
