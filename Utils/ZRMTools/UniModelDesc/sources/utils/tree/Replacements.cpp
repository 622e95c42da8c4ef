#include "utils/tree/Replacements.h"

#include <cmath>

#include "base/ObjectRegistry.h"
#include "nodes/ArgAnimationNode.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/Bone.h"

namespace model::utils
{
namespace
{
constexpr f64 kIdentityTolerance = static_cast<f64>(1e-5f);

ObjectPtr<Node> makeTransform(const matrixd& m)
{
    if (isIdentity(m)) return create<Node>("model::Node");
    const auto node = create<TransformNode>("model::TransformNode");
    node->setMatrix(m);
    return node;
}

/// A bone at rest; its channels, which have no keys, play no part.
ObjectPtr<Node> makeBone(const ArgAnimatedBone& source)
{
    const vec4d& axes = source.baseScaleRotation;
    const vec4d& turn = source.baseRotation;
    matrixd m = multiply(rotationMatrix(axes), scaleMatrix(source.baseScale));
    m = multiply(m, rotationMatrix(inverse(axes)));
    if (turn.x != 0.0 || turn.y != 0.0 || turn.z != 0.0 || turn.w != 1.0) m = multiply(m, rotationMatrix(turn));
    m = multiply(m, translationMatrix(source.basePosition));
    m = multiply(m, source.matrix);

    const auto bone = create<Bone>("model::Bone");
    bone->setMatrix(m);
    bone->setInvertedBaseBoneMatrix(source.getInvertedBaseBoneMatrix());
    return bone;
}
} // namespace

bool isIdentity(const matrixd& matrix)
{
    const matrixd identity;
    for (int i = 0; i < 16; ++i)
        if (std::abs(matrix.m[i] - identity.m[i]) > kIdentityTolerance) return false;
    return true;
}

ObjectPtr<Node> replacementOf(const Node& node)
{
    bool isPlain = false;
    switch (node.getType())
    {
    case kTransformNode:
        isPlain = isIdentity(static_cast<const TransformNode&>(node).getMatrix());
        break;
    case kArgVisibilityNode:
        isPlain = static_cast<const ArgVisibilityNode&>(node).hasNoRanges();
        break;
    case kArgAnimationNode:
        if (const auto& animation = static_cast<const ArgAnimationNode&>(node); animation.hasNoKeys())
            return makeTransform(animation.localMatrix(DummyArguments()));
        break;
    case kArgAnimatedBone:
        if (const auto& bone = static_cast<const ArgAnimatedBone&>(node); bone.hasNoKeys()) return makeBone(bone);
        break;
    default:
        break;
    }
    return isPlain ? create<Node>("model::Node") : nullptr;
}
} // namespace model::utils
