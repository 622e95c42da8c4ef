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
    bone->name = source.name;
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

u32 makeReplacement(ShadowTree& tree, u32 number)
{
    const u32 namesake = tree[number].namesake;
    const Node* const node = tree[number].node;
    switch (tree[number].type)
    {
    case kTransformNode:
        if (isIdentity(tree.matrixOf(number))) return tree.make(namesake);
        break;
    case kArgVisibilityNode:
        if (static_cast<const ArgVisibilityNode&>(*node).hasNoRanges()) return tree.make(namesake);
        break;
    case kArgAnimationNode:
        if (const auto& animation = static_cast<const ArgAnimationNode&>(*node); animation.hasNoKeys())
        {
            const matrixd m = animation.localMatrix(DummyArguments());
            return isIdentity(m) ? tree.make(namesake) : tree.makeTransform(namesake, m);
        }
        break;
    case kArgAnimatedBone:
        if (const auto& bone = static_cast<const ArgAnimatedBone&>(*node); bone.hasNoKeys())
            return tree.adopt(makeBone(bone));
        break;
    default:
        break;
    }
    return kNoNode;
}
} // namespace model::utils
