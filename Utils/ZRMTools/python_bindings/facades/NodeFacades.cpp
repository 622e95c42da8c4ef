#include "inc/NodeFacades.h"

#include <stdexcept>

#include "base/ObjectRegistry.h"
#include "compute/ScriptKeys.h"
#include "compute/VisibilityRanges.h"
#include "utils/mesh/DamageSplit.h"

namespace pyzrm
{
namespace
{
/// One channel for each entry; `convert` makes a model value of a script's.
template <class Channel, class V, class S, class Convert>
zr::vector<Channel> makeChannels(const ArgumentKeys<S>& entries, Convert convert)
{
    zr::vector<Channel> channels;
    channels.reserve(entries.size());
    for (const auto& [argument, list] : entries)
    {
        Channel& channel = channels.emplace_back();
        channel.argument = argument.asHandle();
        channel.keys = makeKeys<V>(list, convert, &model::kChannelTolerance);
    }
    return channels;
}

/// An argument of a number's control: cut first, then tested for its sign.
u32 controlArgument(f32 value)
{
    return value <= -1.0f ? model::kNoArgument : model::argumentFromFloat(value);
}
} // namespace

Node::Node(const zr::string& name) : Node(name, model::create<model::Node>()) {}

Node::Node(const zr::string& name, model::ObjectPtr<model::Node> created) : node(std::move(created))
{
    node->setName(name.c_str());
}

std::shared_ptr<Node> Node::addChild(Ref<Node> child)
{
    if (node->wouldCycle(child->node.get())) throw std::invalid_argument("A node can't hang under itself.");
    node->insert(child->node, nullptr);
    return child.shared();
}

Transform::Transform(const zr::string& name) : Node(name, model::create<model::TransformNode>()) {}

Transform::Transform(const zr::string& name, const Columns& matrix) : Transform(name)
{
    setMatrix(matrix);
}

void Transform::setMatrix(const Columns& matrix)
{
    nodeAs<model::TransformNode>().setMatrix(toMatrix(matrix));
}

Lod::Lod(const zr::string& name, const zr::vector<f32>& distances) : Node(name, model::create<model::LodNode>())
{
    zr::vector<model::LodLevel> levels;
    levels.reserve(distances.size());
    f64 near = 0.0;
    for (const f64 distance : distances)
    {
        const f64 far = distance * distance;
        levels.push_back({near, far});
        near = far;
    }
    nodeAs<model::LodNode>().setLevels(std::move(levels));
}

NumberRoot::NumberRoot(const zr::string& name) : Node(name, model::create<model::TmpNumberRoot>()) {}

void NumberRoot::setControls(const zr::vector<Float4>& controls)
{
    auto& list = nodeAs<model::TmpNumberRoot>().getControls();
    for (const auto& [uArgument, uFactor, vArgument, vFactor] : controls)
        list.push_back({controlArgument(uArgument), uFactor, controlArgument(vArgument), vFactor});
}

VisibilityNode::VisibilityNode(const zr::string& name) : Node(name, model::create<model::ArgVisibilityNode>()) {}

void VisibilityNode::setArguments(const ArgumentKeys<f32>& arguments)
{
    zr::vector<model::VisibilityArgument> list;
    list.reserve(arguments.size());
    for (const auto& [argument, keys] : arguments)
        list.push_back({argument.asHandle(), keysToRanges(keys)});
    nodeAs<model::ArgVisibilityNode>().setArguments(std::move(list));
}

AnimationNode::AnimationNode(const zr::string& name) : Node(name, model::create<model::ArgAnimationNode>()) {}

void AnimationNode::setBaseMatrix(const Columns& matrix)
{
    nodeAs<model::ArgAnimationNode>().setMatrix(toMatrix(matrix));
}

void AnimationNode::setBasePosition(const Float3& position)
{
    nodeAs<model::ArgAnimationNode>().setBasePosition(toVec3d(position));
}

void AnimationNode::setBaseRotation(const Float4& rotation)
{
    nodeAs<model::ArgAnimationNode>().setBaseRotation(toQuaternion(rotation));
}

void AnimationNode::setBaseScale(const Float3& scale)
{
    nodeAs<model::ArgAnimationNode>().setBaseScale(toVec3d(scale));
}

void AnimationNode::setPositionAnimation(const ArgumentKeys<Float3>& channels)
{
    nodeAs<model::ArgAnimationNode>().setPositionChannels(
        makeChannels<model::PositionChannel, model::vec3d>(channels, toVec3d));
}

void AnimationNode::setRotationAnimation(const ArgumentKeys<Float4>& channels)
{
    nodeAs<model::ArgAnimationNode>().setRotationChannels(
        makeChannels<model::RotationChannel, model::vec4d>(channels, toQuaternion));
}

void AnimationNode::setScaleAnimation(const ArgumentKeys<Float3>& channels)
{
    nodeAs<model::ArgAnimationNode>().setScaleChannels(
        makeChannels<model::ScaleChannel, model::vec3d>(channels, toVec3d));
}

Bone::Bone(const zr::string& name) : Node(name, model::create<model::Bone>()) {}

Bone::Bone(const zr::string& name, const Columns& matrix) : Bone(name)
{
    setMatrix(matrix);
}

Bone::Bone(const zr::string& name, const Columns& matrix, const Columns& inverted) : Bone(name, matrix)
{
    setInvertedBaseBoneMatrix(inverted);
}

void Bone::setMatrix(const Columns& matrix)
{
    nodeAs<model::Bone>().setMatrix(toMatrix(matrix));
}

void Bone::setInvertedBaseBoneMatrix(const Columns& matrix)
{
    nodeAs<model::Bone>().setInvertedBaseBoneMatrix(toMatrix(matrix).m);
}
} // namespace pyzrm
