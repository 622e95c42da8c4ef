#pragma once

#include "nodes/BaseNode.h"
#include "nodes/Node.h"

namespace model
{
/// A thing that hangs on one node of the tree, whatever index it is asked for. Null until it is hung up.
class SingleControlNode : public BaseNode
{
public:
    u64 getNumControlNodes() const override { return 1; }
    ObjectPtr<Node> getControlNode(u64) const override { return control; }
    void setControlNode(u64, ObjectPtr<Node> node) override { control = std::move(node); }

    ObjectPtr<Node> control;
};
} // namespace model
