#pragma once

#include "base/NodeClasses.h"

namespace model
{
/// One operation for each class of node that has a record; `INode::accept` calls the one of its own class.
class INodeVisitor
{
public:
    virtual ~INodeVisitor() = default;

#define MODEL_VISIT(Class, id) virtual void visit(const Class& node) = 0;
    MODEL_NODE_RECORDS(MODEL_VISIT)
#undef MODEL_VISIT
};
} // namespace model
