#include "inc/NodeFacades.h"

#include <stdexcept>

#include "base/Keys.h"
#include "base/ObjectRegistry.h"
#include "utils/mesh/DamageSplit.h"

namespace pyzrm
{
namespace
{
/// Sorted and simplified keys; `convert` makes a model value of a script's.
template <class V, class S, class Convert>
model::Keys<V> channelKeys(const KeyList<S>& list, Convert convert)
{
    model::Keys<V> keys;
    keys.reserve(list.size());
    for (const auto& [time, value] : list)
        keys.push_back({time, convert(value)});
    model::sortKeys(keys);
    model::simplifyKeys(keys, model::kChannelTolerance);
    return keys;
}

/// An argument of a number's control: cut first, then tested for its sign.
u32 controlArgument(f32 value)
{
    return value <= -1.0f ? model::kNoArgument : model::argumentFromFloat(value);
}
} // namespace

Node::Node(const zr::string& name) : Node(name, model::create<model::Node>("model::Node")) {}

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

Transform::Transform(const zr::string& name) : Node(name, model::create<model::TransformNode>("model::TransformNode"))
{
}

Transform::Transform(const zr::string& name, const Columns& matrix) : Transform(name)
{
    setMatrix(matrix);
}

void Transform::setMatrix(const Columns& matrix)
{
    nodeAs<model::TransformNode>().setMatrix(toMatrix(matrix));
}

Lod::Lod(const zr::string& name, const std::vector<f32>& distances)
    : Node(name, model::create<model::LodNode>("model::LodNode"))
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

NumberRoot::NumberRoot(const zr::string& name) : Node(name, model::create<model::TmpNumberRoot>("model::TmpNumberRoot"))
{
}

void NumberRoot::setControls(const std::vector<Float4>& controls)
{
    auto& list = nodeAs<model::TmpNumberRoot>().getControls();
    for (const auto& [uArgument, uFactor, vArgument, vFactor] : controls)
        list.push_back({controlArgument(uArgument), uFactor, controlArgument(vArgument), vFactor});
}

VisibilityNode::VisibilityNode(const zr::string& name)
    : Node(name, model::create<model::ArgVisibilityNode>("model::ArgVisibilityNode"))
{
}

void VisibilityNode::setArguments(const ArgumentKeys<f32>& arguments)
{
    zr::vector<model::VisibilityArgument> list;
    list.reserve(arguments.size());
    for (const auto& [argument, keys] : arguments)
        list.push_back({argument.asHandle(), keysToRanges(keys)});
    nodeAs<model::ArgVisibilityNode>().setArguments(std::move(list));
}

zr::vector<model::VisibilityRange> keysToRanges(const KeyList<f32>& keys)
{
    // A value of 1 has to lie inside of a range that is open at its end.
    constexpr f64 kEnd = 1.0001;
    zr::vector<model::VisibilityRange> ranges;
    if (keys.size() == 1)
    {
        if (std::get<1>(keys[0]) >= 0.5f) ranges.push_back({-1.0, 1.0});
        return ranges;
    }
    bool visible = false;
    f64 start = 0.0;
    for (const auto& [value, state] : keys)
    {
        if (!visible && state >= 0.5f)
        {
            start = value;
            visible = true;
        }
        else if (visible && state < 0.5f)
        {
            ranges.push_back({start, value});
            visible = false;
        }
    }
    if (visible && start < kEnd) ranges.push_back({start, kEnd});
    return ranges;
}

AnimationNode::AnimationNode(const zr::string& name)
    : Node(name, model::create<model::ArgAnimationNode>("model::ArgAnimationNode"))
{
}

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
    zr::vector<model::PositionChannel> list;
    list.reserve(channels.size());
    for (const auto& [argument, keys] : channels)
        list.push_back({argument.asHandle(), channelKeys<model::vec3d>(keys, toVec3d)});
    nodeAs<model::ArgAnimationNode>().setPositionChannels(std::move(list));
}

void AnimationNode::setRotationAnimation(const ArgumentKeys<Float4>& channels)
{
    zr::vector<model::RotationChannel> list;
    list.reserve(channels.size());
    for (const auto& [argument, keys] : channels)
        list.push_back({argument.asHandle(), channelKeys<model::vec4d>(keys, toQuaternion)});
    nodeAs<model::ArgAnimationNode>().setRotationChannels(std::move(list));
}

void AnimationNode::setScaleAnimation(const ArgumentKeys<Float3>& channels)
{
    zr::vector<model::ScaleChannel> list;
    list.reserve(channels.size());
    for (const auto& [argument, keys] : channels)
        list.push_back({argument.asHandle(), {}, channelKeys<model::vec3d>(keys, toVec3d)});
    nodeAs<model::ArgAnimationNode>().setScaleChannels(std::move(list));
}

Bone::Bone(const zr::string& name) : Node(name, model::create<model::Bone>("model::Bone")) {}

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
