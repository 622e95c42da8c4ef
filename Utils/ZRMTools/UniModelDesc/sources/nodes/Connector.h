#pragma once

#include "nodes/BaseNode.h"
#include "nodes/Node.h"

namespace model
{
/// A named place where other models attach; all it carries are its name and properties.
class Connector final : public BaseNode
{
public:
    u32 getType() const override { return kConnector; }
    void accept(INodeVisitor& visitor) const override;

    u64 getNumControlNodes() const override { return 1; }
    ObjectPtr<Node> getControlNode(u64) const override { return control; }
    void setControlNode(u64, ObjectPtr<Node> node) override { control = std::move(node); }

    ObjectPtr<Node> control;
};
} // namespace model
