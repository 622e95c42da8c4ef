#include "utils/tree/ShrinkTree.h"

#include "utils/tree/Replacements.h"

namespace model::utils
{
std::size_t replaceEmptyNodes(NotedTree& tree)
{
    std::size_t count = 0;
    for (Node* noted : tree.take(kMaybeEmpty))
    {
        const ObjectPtr<Node> old(noted); // as the top it is held by the root alone
        if (!tree.isInTree(*old)) continue;
        const ObjectPtr<Node> replacement = replacementOf(*old);
        if (!replacement) continue;
        replacement->name = old->name;
        tree.replaceControlNode(*old, *replacement);
        tree.hangAllChildren(*old, *replacement, nullptr);
        if (Node* parent = old->parent())
            tree.hang(*parent, *replacement, old.get());
        else
            tree.setTop(replacement);
        tree.removeNode(*old);
        tree.noteNew(*replacement);
        ++count;
    }
    return count;
}

std::size_t removeDummyNodes(NotedTree& tree)
{
    std::size_t count = 0;
    for (Node* node : tree.take(kMaybeDummy))
    {
        if (!NotedTree::canLeave(*node)) continue;
        Node& parent = *node->parent();
        tree.replaceControlNode(*node, parent);
        tree.hangAllChildren(*node, parent, node);
        tree.removeNode(*node);
        ++count;
    }
    return count;
}

std::size_t removeDeadEnds(NotedTree& tree)
{
    std::size_t count = 0;
    for (Node* node : tree.take(kMaybeDead))
    {
        if (!NotedTree::canLeave(*node) || node->firstChild() || tree.users.isUsed(node)) continue;
        tree.removeNode(*node);
        ++count;
    }
    return count;
}

bool compactTop(NotedTree& tree)
{
    const ObjectPtr<Node> top = tree.root.rootTransform;
    const bool hasOneChild = top->firstChild() && top->firstChild() == top->lastChild();
    if (top->getType() != kNode || !hasOneChild || tree.users.isUsed(top.get())) return false;
    const ObjectPtr<Node> child = top->firstChild();
    top->remove(child);
    tree.removeNode(*top);
    tree.setTop(child);
    tree.noteUse(*child);
    return child->getType() == kTransformNode;
}
} // namespace model::utils
