#include "io/10/NodeWriter10.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/LightNode.h"
#include <zr/exceptions.h>

namespace model
{
namespace
{
constexpr u32 kReserved = 0;
constexpr u32 kVolumeVersion = 3;
constexpr u32 kDirectionsVersion = 2;

zr::string withNodeId(const char* text, const BaseNode& node)
{
    return zr::string(text) + " Node id: " + getNodeTypeName(node.getType()) + ".";
}
} // namespace

void NodeWriter10::visit(const LightNode& node)
{
    const bool hasVolume = node.version >= kVolumeVersion;
    writeRecordHeader(node);
    writeNode(node.control);
    file.writeU8(node.lightType);

    file.writeU32(hasVolume ? 10 : 7);
    for (const PropertyPtr* property :
         {&node.color, &node.brightness, &node.phi, &node.theta, &node.distance, &node.specularAmount, &node.softness})
        (*property)->write(file);
    if (hasVolume)
    {
        for (const PropertyPtr* property : {&node.radiusFactor, &node.densityFactor, &node.nearDistance})
            (*property)->write(file);
        file.writeU8(static_cast<u8>(node.volumeType));
    }

    file.writeU8(node.texture.isUsed() ? 1 : 0);
    if (node.texture.isUsed()) writeTexture(node.texture);
}

void NodeWriter10::writeLight(const FakeOmniLight& light)
{
    file.writeVec3d(light.position);
    file.writeVec2f(light.uvMin);
    file.writeVec2f(light.uvMax);
    file.writeF32(light.size);
    file.writeU32(light.controlIndex);
}

void NodeWriter10::visit(const FakeOmniLightsNode& node)
{
    writeRenderHeader(node);
    writeCount(node.controls.size());
    for (const ObjectPtr<Node>& control : node.controls)
    {
        writeNode(control);
        file.writeU32(kReserved);
    }
    writeCount(node.lights.size());
    for (const FakeOmniLight& light : node.lights)
        writeLight(light);
}

void NodeWriter10::visit(const AnimatedFakeOmniLightsNode& node)
{
    visit(static_cast<const FakeOmniLightsNode&>(node));
    writeSamples(node, node.argument, node.samples, node.lights.size());
}

void NodeWriter10::visit(const FakeSpotLightsNode& node)
{
    writeRenderHeader(node);
    writeCount(node.controls.size());
    for (const SpotControl& control : node.controls)
    {
        writeNode(control.parent);
        file.writeU32(kReserved);
        file.writeVec3f(control.direction);
    }
    writeCount(node.lights.size());
    for (const FakeSpotLight& light : node.lights)
    {
        writeLight(light);
        file.writeVec2f(light.backUvMin);
        file.writeVec2f(light.backUvMax);
        file.writeU8(light.backSide ? 1 : 0);
    }
    if (node.version < kDirectionsVersion) return;
    if (node.directions.size() != node.lights.size())
        ZR_RAISE(withNodeId("FakeSpotLightsNode's directions array != the number of lights.", node));
    for (const vec3f& direction : node.directions)
        file.writeVec3f(direction);
}

void NodeWriter10::visit(const AnimatedFakeSpotLightsNode& node)
{
    visit(static_cast<const FakeSpotLightsNode&>(node));
    writeSamples(node, node.argument, node.samples, node.lights.size());
}

void NodeWriter10::writeSamples(const BaseNode& node, u32 argument, const zr::vector<f32>& samples,
                                std::size_t numLights)
{
    // One text serves omni and spot lights alike.
    if (argument == kNoArgument) ZR_RAISE(withNodeId("Argument of animated fake omni lights must be valid.", node));
    if (samples.size() != numLights * kSamplesPerLight) ZR_RAISE(withNodeId("Invalid data size.", node));
    file.writeU32(argument);
    file.writeU32(kSamplesPerLight);
    writeCount(samples.size());
    for (const f32 sample : samples)
        file.writeF32(sample);
}

void NodeWriter10::visit(const FakeSpotLights3Node& node)
{
    writeRenderHeader(node);
    writeCount(node.controls.size());
    for (const ObjectPtr<Node>& control : node.controls)
        writeNode(control);
    node.vertices.write(file);
}
} // namespace model
