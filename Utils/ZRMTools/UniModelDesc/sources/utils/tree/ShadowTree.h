#pragma once

#include "nodes/TransformNode.h"

namespace model::utils
{
constexpr u32 kNoNode = 0xFFFFFFFFu;

/// A node as the passes see it. The links are numbers of the tree's list.
struct ShadowNode
{
    u32 parent = kNoNode;
    u32 firstChild = kNoNode;
    u32 lastChild = kNoNode;
    u32 next = kNoNode;
    u32 prev = kNoNode;
    /// The ends of the list of `NodeUsers`.
    u32 firstUse = kNoNode;
    u32 lastUse = kNoNode;
    /// The one whose `node` has the name of this; none for a nameless one.
    u32 namesake = kNoNode;
    /// Where the matrix of a transform is that has no `node`.
    u32 matrix = kNoNode;
    /// The last round of `MoveTransforms` in which it was a candidate.
    u32 round = 0;
    u8 type = kNode;
    u8 moveRule = 2;
    bool isBarrier = false;
    /// Made by `MoveTransforms` to carry a matrix.
    bool isCarrier = false;
    /// The list of children is another one than in the model.
    bool isChanged = false;
    /// Of a node of the model.
    bool isRemoved = false;
    /// Null for what the passes made: most of it goes again, and the rest gets its node at the end.
    Node* node = nullptr;
};

/// The tree of a model in numbers. The model keeps its links until `write`; only matrices of its nodes change at once.
///
/// A matrix may move through many nodes and leaves new ones behind at each. So these have no node of the model while
/// the passes run, and their numbers are given again: memory stays linear in the tree. What still holds such a number
/// finds another node there.
///
/// A script may hang the top under a node of its own, and what moves up past the top goes there. Then that node is here
/// too, with all its children, but with nothing that is below the others.
class ShadowTree
{
public:
    explicit ShadowTree(Node& topNode);

    const ShadowNode& operator[](u32 number) const { return nodes[number]; }
    ShadowNode& operator[](u32 number) { return nodes[number]; }
    /// The number of a node of the model; `kNoNode` for one that isn't here, or null.
    u32 find(const Node* node) const;
    /// The next node in a walk from the top, `kNoNode` at its end.
    u32 following(u32 number) const;

    /// A plain node.
    u32 make(u32 namesake = kNoNode);
    u32 makeTransform(u32 namesake, const matrixd& matrix);
    /// A node that was created for the tree.
    u32 adopt(const ObjectPtr<Node>& node);
    /// Hangs a child, with what is below it, before `before`, a child of `parent`, or at the end.
    void insert(u32 parent, u32 child, u32 before);
    /// Takes a child out, with what is below it.
    void detach(u32 child);
    /// Takes a node out for good. Its number stands for nothing from then on, or for the next node that is made.
    void remove(u32 number);

    /// The matrix of a transform or an animation.
    const matrixd& matrixOf(u32 number) const;
    /// Its own matrix times `m`.
    void applyMatrix(u32 number, const matrixd& m);
    /// The node of the model, which is created if there is none.
    Node& nodeOf(u32 number);

    /// Makes the links of the model those that are here. `isComplete` names the nodes that were removed.
    void write(bool isComplete);

    u32 top = kNoNode;
    /// What stands above the top, if something does.
    u32 above = kNoNode;

private:
    u32 size() const { return static_cast<u32>(nodes.size()); }
    u32 add(Node& node, u32 parent);
    u32 addAbove(Node& parent, Node& topNode);
    void addBelowTop();
    bool isElsewhere(const Node& node, u32 parent) const;
    void writeChildren(u32 parent);

    zr::vector<ShadowNode> nodes;
    zr::vector<u32> freeNodes;
    zr::vector<matrixd> matrices;
    zr::vector<u32> freeMatrices;
    /// Nodes that nothing else may hold.
    zr::vector<ObjectPtr<Node>> held;
};
} // namespace model::utils
