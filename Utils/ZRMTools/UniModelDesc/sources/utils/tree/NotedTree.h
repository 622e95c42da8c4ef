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
///
/// A script may hang the top itself under a node of its own. What moves up past the top leaves the tree then, and takes
/// its notes along; such a tree is walked anew for each pass (`isHung`).
class NotedTree
{
public:
    explicit NotedTree(RootNode& rootNode);

    Node& top() const { return *root.rootTransform; }
    void setTop(const ObjectPtr<Node>& node) { root.setRootTransform(node); }
    /// The top has a parent.
    bool isHung() const { return !above.empty(); }
    /// For a node that was noted.
    bool isInTree(const Node& node) const { return node.parent() || &node == &top(); }
    /// Neither the top nor a child of a barrier, which has to keep its children.
    static bool canLeave(const Node& node) { return node.parent() && !node.parent()->isOptimizationBarrier(); }

    /// The nodes that were noted for a pass since it last asked.
    zr::vector<Node*> take(Work work);
    void note(Work work, Node& node) { notes[work].push_back(&node); }
    /// Notes for each pass what a node of its class and with its place may need.
    void noteNew(Node& node);
    /// After a user or a child has come.
    void noteUse(Node& node);
    /// After a user or a child has gone.
    void noteLeaf(Node& node);

    /// Hangs a child, with what is below it, before `before`, or at the end.
    void hang(Node& parent, Node& child, Node* before);
    void hangAllChildren(Node& from, Node& to, Node* before);
    /// Takes the node out. It stays alive as long as this object, so notes can be plain pointers.
    void removeNode(Node& node);
    /// Hangs everything that hangs on `from` onto `to`.
    void replaceControlNode(Node& from, Node& to);
    /// Names the nodes that left the tree.
    void nameDeleted();

    RootNode& root;
    NodeUsers users;

private:
    void noteAll();

    std::array<zr::vector<Node*>, kNumWorks> notes;
    zr::vector<ObjectPtr<Node>> deleted;
    /// What stands above the top: the link from the top may be all that holds it, and that link may go.
    zr::vector<ObjectPtr<Node>> above;
};
} // namespace model::utils
