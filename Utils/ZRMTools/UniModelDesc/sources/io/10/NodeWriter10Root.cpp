#include "base/ObjectRegistry.h"
#include "io/10/NodeWriter10.h"

/// The root, and what all records share: properties and the head of what hangs on the tree.
namespace model
{
namespace
{
constexpr const char* kVersionName = "__VERSION__";

vec3d widen(const vec3f& v)
{
    return {static_cast<f64>(v.x()), static_cast<f64>(v.y()), static_cast<f64>(v.z())};
}
} // namespace

void NodeWriter10::putField(const PropertyList& properties)
{
    putCount(properties.size());
    for (const PropertyPtr& property : properties)
        put(property);
}

/// The version goes in the place of a property of its name or to the end. The node's own list stays as it is.
void NodeWriter10::writeRecordHeader(const BaseNode& node)
{
    put(getNodeTypeName(node.getType()));
    file.writeRawName(node.name);
    put(kReserved);
    if (node.version == 0)
    {
        put(node.properties);
        return;
    }
    const auto version = create<UIntProperty>();
    version->setName(kVersionName);
    version->setValue(node.version);
    PropertyList properties = node.properties;
    properties.set(version);
    put(properties);
}

void NodeWriter10::visit(const RootNode& node)
{
    writeRecordHeader(node);
    for (const Box* box : {&node.boundingBox, &node.userBox, &node.lightBox})
        put(widen(box->min), widen(box->max));
    putCount(node.materials.size());
    for (const MaterialPtr& material : node.materials)
        writeMaterial(*material);
    put(kReserved, node.calcNumHandles());
}
} // namespace model
