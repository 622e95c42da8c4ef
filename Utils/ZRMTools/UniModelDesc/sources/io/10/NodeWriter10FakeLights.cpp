#include "io/10/NodeWriter10.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"
#include <zr/exceptions.h>

/// Light sprites.
namespace model
{
namespace
{
zr::string withNodeId(const char* text, const BaseNode& node)
{
    return zr::string(text) + " Node id: " + getNodeTypeName(node.getType()) + ".";
}
} // namespace

void NodeWriter10::visit(const FakeOmniLightsNode& node)
{
    writeRenderHeader(node);
    putCount(node.controls.size());
    for (const ObjectPtr<Node>& control : node.controls)
        put(control, kReserved);
    put(node.lights);
}

void NodeWriter10::putField(const FakeOmniLight& light)
{
    put(light.position, light.uvMin, light.uvMax, light.size, light.controlIndex);
}

void NodeWriter10::visit(const FakeSpotLightsNode& node)
{
    writeRenderHeader(node);
    put(node.controls, node.lights);
    if (node.version < kDirectionsVersion) return;
    if (node.directions.size() != node.lights.size())
        ZR_RAISE(withNodeId("FakeSpotLightsNode's directions array != the number of lights.", node));
    for (const vec3f& direction : node.directions)
        put(direction);
}

void NodeWriter10::putField(const SpotControl& control)
{
    put(control.parent, kReserved, control.direction);
}

void NodeWriter10::putField(const FakeSpotLight& light)
{
    put(static_cast<const FakeOmniLight&>(light), light.backUvMin, light.backUvMax);
    putByte(light.backSide ? 1 : 0);
}

void NodeWriter10::visit(const AnimatedFakeOmniLightsNode& node)
{
    visit(static_cast<const FakeOmniLightsNode&>(node));
    writeSamples(node);
}

void NodeWriter10::visit(const AnimatedFakeSpotLightsNode& node)
{
    visit(static_cast<const FakeSpotLightsNode&>(node));
    writeSamples(node);
}

template <class Lights>
void NodeWriter10::writeSamples(const Lights& node)
{
    // One text serves omni and spot lights alike.
    if (node.argument == kNoArgument)
        ZR_RAISE(withNodeId("Argument of animated fake omni lights must be valid.", node));
    if (node.samples.size() != node.lights.size() * kSamplesPerLight) ZR_RAISE(withNodeId("Invalid data size.", node));
    put(node.argument, kSamplesPerLight, node.samples);
}

void NodeWriter10::visit(const FakeSpotLights3Node& node)
{
    writeRenderHeader(node);
    put(node.controls, node.vertices);
}
} // namespace model
