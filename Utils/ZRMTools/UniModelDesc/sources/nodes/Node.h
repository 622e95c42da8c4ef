#pragma once

#include "base/IModelArguments.h"
#include "nodes/NamedNode.h"
#include <zr/EmTree.h>

namespace model
{
/// What the tree optimiser asks of a node.
class OptimizerTrait
{
public:
    virtual ~OptimizerTrait() = default;

    /// How a matrix that comes down from the parent can pass this node. 0: the node takes it into its own matrix; 1: it
    /// can't pass; 2: it passes, and a new node below this one carries it.
    virtual int transformMoveRule() const = 0;
    /// own := own x m; nothing on a node without a matrix.
    virtual void applyMatrix(const f64* m) = 0;
    /// The children of such a node stay as they are.
    virtual bool isOptimizationBarrier() const = 0;
};

/// A node of the tree. The links are strong references in all directions: a tree ends only when its links are cut.
/// The walks use no recursion, so a tree may be as deep as memory allows.
class Node : public zr::EmTree<Node, zr::EmTreePtrStorage<Node, IObjectDeleter>>,
             public OptimizerTrait,
             public NodeClass<Node, NamedNode>
{
public:
    /// The value of the property "__VERSION__"; 0 when there is none.
    u32 getVersion() const;
    /// Stores a new property "__VERSION__" when the value differs from the present one.
    void setVersion(u32 version);

    int transformMoveRule() const override { return 2; }
    void applyMatrix(const f64*) override {}
    bool isOptimizationBarrier() const override { return false; }

    /// The type id under which files name this node.
    virtual u32 getKind() const { return getType(); }
    /// m := m x own matrix x the matrices of all ancestors, from the parent up to, but not including, `end`.
    void accumulateMatrix(const IModelArguments& arguments, f64* m, const Node* end = nullptr) const;
    /// `*visible` := false when this node or an ancestor is hidden; otherwise it stays. Does nothing when it is false.
    void evalVisibility(const IModelArguments& arguments, bool* visible) const;
    /// Takes in a matrix that comes down from the parent and gives in `out` the one that its children take in turn.
    virtual void takeMatrix(f64* out, const f64* m, bool clear);
    virtual bool isVisibilityNode() const { return false; }

    /// For a pass over the tree that lists its nodes: where this one is in the list. Whether it is in it at all, only a
    /// look there can tell.
    u32 number = 0;

protected:
    /// m := m x the own matrix; nothing on a node without one.
    virtual void accumulateOwn(const IModelArguments&, f64*) const {}
    virtual bool isOwnVisible(const IModelArguments&) const { return true; }
};
} // namespace model
