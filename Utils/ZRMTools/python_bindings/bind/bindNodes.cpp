#include "bind/Binder.h"
#include "inc/NodeFacades.h"

namespace pyzrm
{
void bindNodes()
{
    const auto name = [](const Node& node) { return node.getName(); };
    using Name = const zr::string&;

    Binder<Node>()
        .constructor<Name>()
        .method("getName", &Node::getName)
        .method("addChild", &Node::addChild)
        .repr("Node", name);
    Binder<Transform>()
        .constructor<Name>()
        .constructor<Name, const Columns&>()
        .method("setMatrix", &Transform::setMatrix)
        .repr("Transform", name);
    Binder<Lod>().constructor<Name, const zr::vector<f32>&>().repr("Lod", name);
    Binder<NumberRoot>().constructor<Name>().method("setControls", &NumberRoot::setControls).repr("NumberRoot", name);
    Binder<VisibilityNode>()
        .constructor<Name>()
        .method("setArguments", &VisibilityNode::setArguments)
        .repr("VisibilityNode", name);
    Binder<AnimationNode>()
        .constructor<Name>()
        .method("setBaseMatrix", &AnimationNode::setBaseMatrix)
        .method("setBasePosition", &AnimationNode::setBasePosition)
        .method("setBaseRotation", &AnimationNode::setBaseRotation)
        .method("setBaseScale", &AnimationNode::setBaseScale)
        .method("setPositionAnimation", &AnimationNode::setPositionAnimation)
        .method("setRotationAnimation", &AnimationNode::setRotationAnimation)
        .method("setScaleAnimation", &AnimationNode::setScaleAnimation)
        .repr("AnimationNode", name);
    Binder<Bone>()
        .constructor<Name>()
        .constructor<Name, const Columns&>()
        .constructor<Name, const Columns&, const Columns&>()
        .method("setMatrix", &Bone::setMatrix)
        .method("setInvertedBaseBoneMatrix", &Bone::setInvertedBaseBoneMatrix)
        .method("getName", &Bone::getName)
        .repr("Bone", name);
}
} // namespace pyzrm
