#pragma once

#include "base/INodeVisitor.h"

namespace model
{
/// What each class of the list has of its own, between the class and its base: its id, its name and its operation of
/// the visitor. A class without a record of its own is visited as its base.
///
///     class TransformNode : public NodeClass<TransformNode, Node>
template <class Class, class Base>
class NodeClass : public Base
{
public:
    /// The name by which the registry makes the class.
    static constexpr const char* kClassName = NodeTraits<Class>::kClassName;

    u32 getType() const override { return NodeTraits<Class>::kType; }
    void accept(INodeVisitor& visitor) const override { visitor.visit(static_cast<const Class&>(*this)); }
};
} // namespace model
