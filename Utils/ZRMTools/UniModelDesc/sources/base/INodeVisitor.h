#pragma once

namespace model
{
class RootNode;
class Connector;
class LightNode;
class NumberNode;
class SkinNode;
class RenderNode;
class AnimatedFakeSpotLightsNode;
class FakeSpotLights3Node;
class FakeSpotLightsNode;
class AnimatedFakeOmniLightsNode;
class FakeOmniLightsNode;
class SegmentsNode;
class ShellSkinNode;
class ShellNode;
class LodNode;
class Bone;
class BillboardNode;
class ArgVisibilityNode;
class ArgAnimatedBone;
class ArgAnimationNode;
class TransformNode;
class Node;

/// One operation for each class of node; `INode::accept` calls the one of its own class. A class that has none here
/// is visited as its base.
class INodeVisitor
{
public:
    virtual ~INodeVisitor() = default;

    virtual void visit(const RootNode&) = 0;
    virtual void visit(const Connector&) = 0;
    virtual void visit(const LightNode&) = 0;
    virtual void visit(const NumberNode&) = 0;
    virtual void visit(const SkinNode&) = 0;
    virtual void visit(const RenderNode&) = 0;
    virtual void visit(const AnimatedFakeSpotLightsNode&) = 0;
    virtual void visit(const FakeSpotLights3Node&) = 0;
    virtual void visit(const FakeSpotLightsNode&) = 0;
    virtual void visit(const AnimatedFakeOmniLightsNode&) = 0;
    virtual void visit(const FakeOmniLightsNode&) = 0;
    virtual void visit(const SegmentsNode&) = 0;
    virtual void visit(const ShellSkinNode&) = 0;
    virtual void visit(const ShellNode&) = 0;
    virtual void visit(const LodNode&) = 0;
    virtual void visit(const Bone&) = 0;
    virtual void visit(const BillboardNode&) = 0;
    virtual void visit(const ArgVisibilityNode&) = 0;
    virtual void visit(const ArgAnimatedBone&) = 0;
    virtual void visit(const ArgAnimationNode&) = 0;
    virtual void visit(const TransformNode&) = 0;
    virtual void visit(const Node&) = 0;
};
} // namespace model
