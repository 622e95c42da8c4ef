#pragma once

#include "base/IObject.h"
#include "base/NodeClasses.h"

namespace model
{
class INodeVisitor;

/// Base of the nodes of the tree and of the things that hang on it.
class INode : public IObject
{
public:
    /// One of `NodeType`.
    virtual u32 getType() const = 0;
    /// Calls the visitor's operation for this class.
    virtual void accept(INodeVisitor& visitor) const = 0;
    /// A copy of this object, made through the registry under the name of its type.
    virtual ObjectPtr<INode> clone() const;
};
} // namespace model
