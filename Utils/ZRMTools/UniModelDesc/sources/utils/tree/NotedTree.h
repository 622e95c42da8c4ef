#pragma once

#include <array>

#include "RootNode.h"
#include "utils/tree/NodeUsers.h"

namespace model::utils
{
/// The passes that a node may have work for.
enum Work
{
    kMaybeEmpty,   ///< it may do nothing, or could be simpler
    kMaybeDummy,   ///< a plain node
    kMaybeDead,    ///< a leaf on which nothing hangs
    kMaybeMovable, ///< a transform with something on or below it
    kNumWorks
};

/// The tree of a model while static transforms are taken out of it: all changes go through here.
///
/// Each pass is defined by a walk over the whole tree that collects candidates before anything changes. A walk for each
/// repetition would make the whole quadratic, since a matrix may take as many repetitions as the tree is deep. So every
/// change notes the nodes that it may have made candidates, and a pass looks at these only:
/// - a node can become one that does nothing only by getting a new matrix;
/// - a plain node that is no candidate stays none, as its parent is a barrier or missing and stays so;
/// - a leaf can become unused only by losing its last child or its last user;
/// - a transform that was dealt with has work again only when it gets a user or a child.
/// A note may be out of date, and its number may stand for another node by now: a pass looks at the node again.
///
/// A script may hang the top itself under a node of its own. What moves up past the top leaves the tree then, and takes
/// its notes along; such a tree is walked anew for each pass (`isHung`).
class NotedTree
{
public:
    explicit NotedTree(RootNode& rootNode);

    /// The top has, or had, a parent.
    bool isHung() const { return nodes.above != kNoNode; }
    bool isInTree(u32 node) const { return nodes[node].parent != kNoNode || node == nodes.top; }
    /// Neither the top nor a child of a barrier, which has to keep its children.
    bool canLeave(u32 node) const
    {
        const u32 parent = nodes[node].parent;
        return parent != kNoNode && !nodes[parent].isBarrier;
    }
    bool isDeadEnd(u32 node) const
    {
        return canLeave(node) && nodes[node].firstChild == kNoNode && !users.isUsed(node);
    }

    /// The nodes that were noted for a pass since it last asked; the list is the caller's until it asks again.
    zr::vector<u32>& take(Work work);
    void note(Work work, u32 node) { notes[work].push_back(node); }
    /// Notes for each pass what a node of its class and with its place may need.
    void noteNew(u32 node);
    /// After a user or a child has come.
    void noteUse(u32 node);
    /// After a user or a child has gone.
    void noteLeaf(u32 node);

    /// Hangs a child, with what is below it, before `before`, or at the end.
    void hang(u32 parent, u32 child, u32 before);
    void hangAllChildren(u32 from, u32 to, u32 before);
    void removeNode(u32 node);
    /// Hangs everything that hangs on `from` onto `to`.
    void replaceControlNode(u32 from, u32 to);
    /// Brings the model to what is here. `isComplete` names the nodes that were removed.
    void write(bool isComplete);

    RootNode& root;
    ShadowTree nodes;
    NodeUsers users;

private:
    void noteAll();

    std::array<zr::vector<u32>, kNumWorks> notes;
    std::array<zr::vector<u32>, kNumWorks> taken;
};
} // namespace model::utils
