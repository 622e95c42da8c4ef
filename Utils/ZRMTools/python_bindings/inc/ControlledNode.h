#pragma once

#include "base/ObjectRegistry.h"
#include "inc/NodeFacades.h"

namespace pyzrm
{
/// A facade whose model node, made by the constructor, hangs on one node of the tree.
template <class Base, class ModelNode>
class ControlledNode : public Base
{
public:
    ControlledNode(const char* className, const zr::string& name) : node(model::create<ModelNode>(className))
    {
        node->setName(name.c_str());
    }

    const zr::string& getName() const { return node->getName(); }
    void setControlNode(Ref<Node> control) { node->setControlNode(0, control->getNode()); }

protected:
    model::ObjectPtr<ModelNode> node;
};
} // namespace pyzrm
