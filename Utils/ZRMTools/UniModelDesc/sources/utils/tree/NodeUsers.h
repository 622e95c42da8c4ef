#pragma once

#include "nodes/BaseNode.h"
#include "utils/tree/ShadowTree.h"

namespace model
{
class RootNode;
}

namespace model::utils
{
/// Something that hangs on a node of the tree by one of its control nodes.
struct Use
{
    BaseNode* user = nullptr;
    u32 index = 0;
    /// The node, and the next use on it in no order.
    u32 node = kNoNode;
    u32 next = kNoNode;
    /// Its matrices may be collected (`Bakes`).
    bool canWait = false;
    /// The user may refuse a node, as a skin takes bones only: it is asked at once. The others get theirs in `write`.
    bool isAsked = false;
    bool isMoved = false;
};

/// What hangs on each node of the tree: the root's `isUsed`, `getUsers` and `replaceControlNode` without a search.
/// Valid while all control nodes are set through it and the lists of the root stay as they are.
class NodeUsers
{
public:
    NodeUsers(const RootNode& root, ShadowTree& shadowTree);

    /// Whether something in the root's lists makes the order of baking show (`dependsOnOrder`).
    bool hasOrder() const { return isOrdered; }
    const Use& operator[](u32 use) const { return uses[use]; }
    bool isUsed(u32 node) const { return tree[node].firstUse != kNoNode; }
    /// Takes what hangs on a node off it, in the order of the root's lists. Each entry is to be given back by `hang` or
    /// `restore`. Valid until the next call.
    const zr::vector<u32>& take(u32 node);
    /// Hangs a use on a node. What refuses the node stays where it is.
    void hang(u32 use, u32 node);
    /// Gives back what stays on its node.
    void restore(u32 use, u32 node);
    /// Hangs everything from `from` onto `to`. Returns whether there was something.
    bool replace(u32 from, u32 to);
    /// Sets the control nodes of the model.
    void write();

private:
    void add(BaseNode& user);

    ShadowTree& tree;
    /// In the order of the root's lists; a user that is listed twice has two uses.
    zr::vector<Use> uses;
    zr::vector<u32> taken;
    bool isOrdered = false;
};
} // namespace model::utils
