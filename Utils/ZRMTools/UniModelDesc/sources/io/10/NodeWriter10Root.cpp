#include "io/10/NodeWriter10.h"

namespace model
{
namespace
{
constexpr u32 kReserved = 0;
constexpr const char* kVersionName = "__VERSION__";

/// The record of the property that carries a node's version.
void writeVersion(io::IBinaryFileW& file, u32 version)
{
    file.writeString("model::Property<unsigned int>");
    file.writeString(kVersionName);
    file.writeU32(version);
}

/// The node's properties, its version among them: it goes in the place of a property of that name or to the end. The
/// node's own list stays as it is.
void writeVersionedProperties(io::IBinaryFileW& file, const PropertyList& properties, u32 version)
{
    const std::size_t place = version ? properties.find(kVersionName) : PropertyList::kNone;
    const bool isAdded = version != 0 && place == PropertyList::kNone;
    file.writeU32(static_cast<u32>(properties.size() + isAdded));
    for (std::size_t i = 0; i < properties.size(); ++i)
    {
        if (i == place)
            writeVersion(file, version);
        else
            properties[i]->write(file);
    }
    if (isAdded) writeVersion(file, version);
}

vec3d widen(const vec3f& v)
{
    return {static_cast<f64>(v.x()), static_cast<f64>(v.y()), static_cast<f64>(v.z())};
}
} // namespace

void NodeWriter10::writeRecordHeader(const BaseNode& node)
{
    file.writeString(getNodeTypeName(node.getType()));
    file.writeRawName(node.name);
    file.writeU32(kReserved);
    writeVersionedProperties(file, node.properties, node.version);
}

void NodeWriter10::writeBox(const Box& box)
{
    file.writeVec3d(widen(box.min));
    file.writeVec3d(widen(box.max));
}

void NodeWriter10::visit(const RootNode& node)
{
    writeRecordHeader(node);
    writeBox(node.boundingBox);
    writeBox(node.userBox);
    writeBox(node.lightBox);
    writeCount(node.materials.size());
    for (const MaterialPtr& material : node.materials)
        writeMaterial(*material);
    file.writeU32(kReserved);
    file.writeU32(node.calcNumHandles());
}
} // namespace model
