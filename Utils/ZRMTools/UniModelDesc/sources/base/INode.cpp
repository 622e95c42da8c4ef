#include "base/INode.h"

#include "base/ObjectRegistry.h"

namespace model
{
const char* getNodeTypeName(u32 type)
{
    switch (type)
    {
#define MODEL_NAME(Name, id)                                                                                           \
    case id:                                                                                                           \
        return "model::" #Name;
        MODEL_NODE_NAMES(MODEL_NAME)
#undef MODEL_NAME
    default:
        return "UNKNOWN_NODE_ID";
    }
}

ObjectPtr<INode> INode::clone() const
{
    return cast<INode>(getObjectRegistry().clone(getNodeTypeName(getType()), *this));
}
} // namespace model
