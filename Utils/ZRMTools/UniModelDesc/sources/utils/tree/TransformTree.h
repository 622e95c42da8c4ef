#pragma once

#include "nodes/Node.h"
#include "utils/tree/CarrierPipes.h"
#include "utils/tree/NodeUsers.h"

namespace model
{
class ArgAnimationNode;
class TransformNode;

/// The tree of a model while static transforms are taken out of it: four passes that are repeated until none of them
/// changes anything.
///
/// Each pass is defined by a walk over the whole tree that collects candidates before anything changes. A walk for each
/// repetition would make the whole quadratic, since a matrix may take as many repetitions as the tree is deep. So every
/// change notes the nodes that it may have made candidates, and a pass looks at these only:
/// - a node can become one that does nothing only by getting a new matrix;
/// - a plain node that is no candidate stays none, as its parent is a barrier or missing and stays so;
/// - a leaf can become unused only by losing its last child or its last user;
/// - a transform that was dealt with has work again only when it gets a user or a child.
/// The order of candidates shows only where matrices move. There a transform goes behind its parent; the rest of the
/// walk order counts only for few models (`isWalkOrdered`), and putting it right costs a walk.
///
/// Matrices on their way through chains of visibility nodes are in `pipes`, see there.
class TransformTree
{
public:
    explicit TransformTree(RootNode& rootNode);

    /// Turns nodes that do nothing into plain nodes, and others into simpler ones. Returns how many.
    std::size_t replaceEmptyNodes();
    /// Drops plain nodes: what hangs on one, and its children, go to its parent. Returns how many.
    std::size_t removeDummyNodes();
    /// Drops the unused nodes that are leaves at this moment. Returns how many.
    std::size_t removeDeadEnds();
    /// Moves the matrix of each transform into what hangs on it and into its children. Returns how many took one, or 0
    /// when the walk ended early: at the first transform that is the top or lies directly below a barrier.
    std::size_t moveTransforms();
    /// An unused plain node with one child gives the top of the tree to its child.
    void compactTop();
    /// Names the nodes that left the tree.
    void markDeleted();

private:
    class Bakes;

    bool isInTree(const Node& node) const;
    /// Hangs a child, with what is below it, before `before`, or at the end.
    void hang(Node& parent, Node& child, Node* before);
    void hangAllChildren(Node& from, Node& to, Node* before);
    void replaceControlNode(Node& from, Node& to);
    void removeNode(Node& node);
    void noteNew(Node& node);
    void noteUse(Node& node);
    void noteLeaf(Node& node);

    ObjectPtr<Node> replacementOf(const Node& node) const;
    zr::vector<Node*> takeCandidates();
    void sortByWalk(zr::vector<Node*>& nodes) const;
    void sortByParents(zr::vector<Node*>& nodes) const;
    void fillPipes(zr::vector<Node*>& candidates);
    void emptyPipes();
    bool canEnterPipe(const Node& node) const;
    bool isPassable(const Node& node) const;
    void hangBelow(Node& node, Node& carrier);
    void moveTransform(TransformNode& transform, Bakes& bakes, std::size_t& moved);
    bool moveUsers(TransformNode& transform, Bakes& bakes, std::size_t& moved);
    bool moveToChild(TransformNode& transform, Node& child);

    RootNode& root;
    NodeUsers users;
    /// Holds every node that left the tree, so the notes can be plain pointers.
    zr::vector<ObjectPtr<Node>> deleted;
    zr::vector<Node*> maybeEmpty;
    zr::vector<Node*> maybeDummy;
    zr::vector<Node*> maybeDead;
    zr::vector<Node*> maybeMovable;

    /// Whether the order in which transforms of one walk are dealt with shows in the result: data that several control
    /// nodes move all at once, or data that can't be moved and end the pass.
    bool isWalkOrdered = false;
    u64 round = 0;
    CarrierPipes pipes;
    /// The nodes that this made to carry a matrix: nobody else knows them.
    phmap::flat_hash_set<const Node*> carriers;
    /// Carriers in pipes leave empty nodes behind as others do; these are not in the tree, but they count.
    bool hasEmptiedCarriers = false;
};

/// Whether all elements are those of the identity within 1e-5 (as `f32`).
bool isIdentity(const matrixd& matrix);
} // namespace model
