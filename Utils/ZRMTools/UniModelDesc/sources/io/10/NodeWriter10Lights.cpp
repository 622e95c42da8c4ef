#include "io/10/NodeWriter10.h"
#include "nodes/LightNode.h"

/// Real lights.
namespace model
{
void NodeWriter10::visit(const LightNode& node)
{
    const bool hasVolume = node.version >= kVolumeVersion;
    const auto properties = node.getLightProperties();
    const auto volumeProperties = node.getVolumeProperties();

    writeRecordHeader(node);
    put(node.control, node.lightType);
    putCount(properties.size() + (hasVolume ? volumeProperties.size() : 0));
    for (const PropertyPtr* property : properties)
        put(*property);
    if (hasVolume)
    {
        for (const PropertyPtr* property : volumeProperties)
            put(*property);
        putByte(node.volumeType);
    }
    putByte(node.texture.isUsed() ? 1 : 0);
    if (node.texture.isUsed()) put(node.texture);
}
} // namespace model
