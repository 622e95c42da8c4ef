#pragma once

#include <functional>

#include "base/INode.h"
#include "base/NodeClass.h"
#include "materials/PropertyList.h"

namespace model
{
/// What the nodes of the tree and the things that hang on it have in common: a name, which need not be unique, and a
/// list of properties.
class NamedNode : public INode
{
public:
    zr::string name;
    PropertyList properties;

    const zr::string& getName() const { return name; }
    /// Null stores the empty string.
    void setName(const char* text) { name = text ? text : ""; }
    PropertyList& getProperties() { return properties; }
    const PropertyList& getProperties() const { return properties; }

    /// Calls the function with each argument that this node names (not `kNoArgument`), repeats included.
    virtual void forEachArgument(const std::function<void(u32)>& function) const
    {
        model::forEachArgument(properties, function);
    }
};

/// Calls the function with the argument of each entry of a list that has one.
template <class Entries>
void reportArguments(const Entries& entries, const std::function<void(u32)>& function)
{
    for (const auto& entry : entries)
        if (entry.argument != kNoArgument) function(entry.argument);
}
} // namespace model
