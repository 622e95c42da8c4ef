#pragma once

#include "inc/Facade.h"
#include "nodes/BaseNode.h"

namespace pyzrm
{
/// What every render facade says when its control node was never set.
constexpr const char* kNoControlNode = "Control node isn't set.";

using NodeList = zr::vector<model::ObjectPtr<model::BaseNode>>;

/// Base of the facades that `Model.addRenderNode` takes. By itself it builds nothing.
class IRenderNode : public Facade
{
public:
    /// Finishes the model nodes; "" or what is missing.
    virtual zr::string build() { return {}; }
    /// Whether a block of the type of that name is there.
    virtual bool hasBlock(const char*) const { return false; }
    /// The nodes to add, after `build`.
    virtual NodeList getNodes() const { return {}; }
};
} // namespace pyzrm
