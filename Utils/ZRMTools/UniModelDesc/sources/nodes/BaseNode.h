#pragma once

#include "nodes/NamedNode.h"

namespace model
{
class BaseMeshRenderNode;
class BaseRenderNode;
class Node;
class RootNode;

/// A thing that hangs on the tree and lies in one of the root's lists. It points to the tree through its control
/// nodes; the tree does not point to it.
class BaseNode : public NamedNode
{
public:
    /// The root whose list took this node; not counted.
    RootNode* root = nullptr;
    /// Says which optional fields the record has. When it is not 0, the file holds it as the property "__VERSION__".
    u32 version = 0;

    u32 getVersion() const { return version; }
    void setVersion(u32 value) { version = value; }

    /// The same object as something that is drawn, or as a mesh; null when it is none. Nearly all passes ask it of each
    /// node, and of a small mesh a run-time cast would be a part of the work.
    virtual BaseRenderNode* asRenderNode() { return nullptr; }
    virtual BaseMeshRenderNode* asMesh() { return nullptr; }

    virtual u64 getNumControlNodes() const = 0;
    virtual ObjectPtr<Node> getControlNode(u64 index) const = 0;
    virtual void setControlNode(u64 index, ObjectPtr<Node> node) = 0;
    /// Transforms the data that hangs on a control node by 16 values; false when the data can't take a matrix.
    virtual bool applyMatrix(u32, const f64*) { return false; }
};
} // namespace model
