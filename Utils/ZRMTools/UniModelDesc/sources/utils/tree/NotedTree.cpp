#include "utils/tree/NotedTree.h"

#include <utility>

namespace model::utils
{
NotedTree::NotedTree(RootNode& rootNode) : root(rootNode), nodes(*rootNode.rootTransform), users(rootNode, nodes)
{
    noteAll();
}

zr::vector<u32>& NotedTree::take(Work work)
{
    if (isHung()) noteAll();
    taken[work].clear();
    std::swap(taken[work], notes[work]);
    return taken[work];
}

void NotedTree::noteAll()
{
    for (zr::vector<u32>& list : notes)
        list.clear();
    for (u32 node = nodes.top; node != kNoNode; node = nodes.following(node))
        noteNew(node);
}

void NotedTree::noteNew(u32 node)
{
    switch (nodes[node].type)
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

void NotedTree::noteUse(u32 node)
{
    if (nodes[node].type == kTransformNode) note(kMaybeMovable, node);
}

void NotedTree::noteLeaf(u32 node)
{
    if (nodes[node].firstChild == kNoNode && !users.isUsed(node)) note(kMaybeDead, node);
}

void NotedTree::hang(u32 parent, u32 child, u32 before)
{
    const u32 old = nodes[child].parent;
    nodes.insert(parent, child, before);
    noteUse(parent);
    if (old != kNoNode) noteLeaf(old);
}

void NotedTree::hangAllChildren(u32 from, u32 to, u32 before)
{
    if (nodes[from].firstChild == kNoNode) return;
    while (nodes[from].firstChild != kNoNode)
        nodes.insert(to, nodes[from].firstChild, before);
    noteUse(to);
    noteLeaf(from);
}

void NotedTree::removeNode(u32 node)
{
    const u32 parent = nodes[node].parent;
    nodes.remove(node);
    if (parent != kNoNode) noteLeaf(parent);
}

void NotedTree::replaceControlNode(u32 from, u32 to)
{
    if (!users.replace(from, to)) return;
    noteUse(to);
    noteLeaf(from);
}

void NotedTree::write(bool isComplete)
{
    const ObjectPtr<Node> oldTop = root.rootTransform; // nothing else may hold it
    users.write();
    root.setRootTransform(&nodes.nodeOf(nodes.top));
    nodes.write(isComplete);
}
} // namespace model::utils
