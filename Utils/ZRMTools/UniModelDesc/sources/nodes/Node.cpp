#include "nodes/Node.h"

#include <algorithm>

#include "base/ObjectRegistry.h"

namespace model
{
namespace
{
constexpr const char* kVersionName = "__VERSION__";
}

u32 Node::getVersion() const
{
    const auto property = cast<UIntProperty>(findProperty(properties, kVersionName));
    return property ? property->value : 0;
}

void Node::setVersion(u32 version)
{
    if (getVersion() == version) return;
    const auto property = create<UIntProperty>();
    if (!property) return;
    property->setName(kVersionName);
    property->setValue(version);
    setProperty(properties, property);
}

void Node::accumulateMatrix(const IModelArguments& arguments, f64* m, const Node* end) const
{
    for (const Node* node = this; node && node != end; node = node->parent())
        node->accumulateOwn(arguments, m);
}

void Node::evalVisibility(const IModelArguments& arguments, bool* visible) const
{
    for (const Node* node = this; node && *visible; node = node->parent())
        *visible = node->isOwnVisible(arguments);
}

void Node::takeMatrix(f64* out, const f64* m, bool)
{
    std::copy(m, m + 16, out);
}
} // namespace model
