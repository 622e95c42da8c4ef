#include "utils/tree/ShrinkTree.h"

#include <algorithm>

#include "utils/tree/Replacements.h"

namespace model::utils
{
std::size_t replaceEmptyNodes(NotedTree& tree)
{
    std::size_t count = 0;
    for (const u32 old : tree.take(kMaybeEmpty))
    {
        if (!tree.isInTree(old)) continue;
        const u32 replacement = makeReplacement(tree.nodes, old);
        if (replacement == kNoNode) continue;
        tree.replaceControlNode(old, replacement);
        tree.hangAllChildren(old, replacement, kNoNode);
        if (const u32 parent = tree.nodes[old].parent; parent != kNoNode)
            tree.hang(parent, replacement, old);
        else
            tree.nodes.top = replacement;
        tree.removeNode(old);
        tree.noteNew(replacement);
        ++count;
    }
    return count;
}

std::size_t removeDummyNodes(NotedTree& tree)
{
    std::size_t count = 0;
    for (const u32 node : tree.take(kMaybeDummy))
    {
        if (tree.nodes[node].type != kNode || !tree.canLeave(node)) continue;
        const u32 parent = tree.nodes[node].parent;
        tree.replaceControlNode(node, parent);
        tree.hangAllChildren(node, parent, node);
        tree.removeNode(node);
        ++count;
    }
    return count;
}

std::size_t removeDeadEnds(NotedTree& tree)
{
    zr::vector<u32>& leaves = tree.take(kMaybeDead);
    std::erase_if(leaves, [&tree](u32 node) { return !tree.isDeadEnd(node); });
    std::size_t count = 0;
    for (const u32 node : leaves)
    {
        if (!tree.canLeave(node)) continue; // noted twice
        tree.removeNode(node);
        ++count;
    }
    return count;
}

bool compactTop(NotedTree& tree)
{
    ShadowTree& nodes = tree.nodes;
    const u32 top = nodes.top;
    const u32 child = nodes[top].firstChild;
    const bool hasOneChild = child != kNoNode && child == nodes[top].lastChild;
    if (nodes[top].type != kNode || !hasOneChild || tree.users.isUsed(top)) return false;
    nodes.detach(child);
    nodes.top = child;
    tree.removeNode(top);
    tree.noteUse(child);
    return nodes[child].type == kTransformNode;
}
} // namespace model::utils
