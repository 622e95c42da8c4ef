#include "base/INode.h"

#include "base/ObjectRegistry.h"

namespace model
{
namespace
{
constexpr const char* kTypeNames[] = {
    "model::ArgAnimatedBone",
    "model::ArgAnimationNode",
    "model::ArgRotationNode",
    "model::ArgScaleNode",
    "model::ArgPositionNode",
    "model::ArgVisibilityNode",
    "model::Bone",
    "model::Connector",
    "model::LightNode",
    "model::LodNode",
    "model::Node",
    "model::RenderNode",
    "model::BillboardNode",
    "model::ShellNode",
    "model::TreeShellNode",
    "model::SegmentsNode",
    "model::RootNode",
    "model::SkinNode",
    "model::TransformNode",
    "model::FakeOmniLightsNode",
    "model::FakeSpotLightsNode",
    "model::AnimatedFakeOmniLightsNode",
    "model::AnimatedFakeSpotLightsNode",
    "model::NumberNode",
    "model::ShellSkinNode",
    "model::FakeSpotLights3Node",
    "model::TmpNumberRoot",
};
static_assert(std::size(kTypeNames) == kTmpNumberRoot + 1);
} // namespace

const char* getNodeTypeName(u32 type)
{
    return type < std::size(kTypeNames) ? kTypeNames[type] : "UNKNOWN_NODE_ID";
}

ObjectPtr<INode> INode::clone() const
{
    return cast<INode>(getObjectRegistry().clone(getNodeTypeName(getType()), *this));
}
} // namespace model
