#pragma once

#include "nodes/ArgAnimationNode.h"

namespace model
{
/// What a skin asks of the nodes that it hangs on.
class IBone
{
public:
    virtual ~IBone() = default;

    /// Copies 16 values.
    virtual void setInvertedBaseBoneMatrix(const f64* m) = 0;
    virtual const f64* getInvertedBaseBoneMatrix() const = 0;
    /// The node that is this bone.
    virtual const Node* getNode() const = 0;
    virtual Node* getNode() = 0;
    /// The rest matrix.
    virtual const f64* getBoneMatrix() const = 0;
};

/// What both bones have: the inverted matrix of the rest pose, and that no matrix from above passes or enters them.
template <class Class, class Base>
class BoneNode : public NodeClass<Class, Base>, public IBone
{
public:
    matrixd invertedBaseBoneMatrix;

    int transformMoveRule() const override { return 1; }
    void applyMatrix(const f64*) override {}

    void setInvertedBaseBoneMatrix(const f64* m) override
    {
        for (int i = 0; i < 16; ++i)
            invertedBaseBoneMatrix.m[i] = m[i];
    }
    const f64* getInvertedBaseBoneMatrix() const override { return invertedBaseBoneMatrix.m; }
    const Node* getNode() const override { return this; }
    Node* getNode() override { return this; }
};

class Bone final : public BoneNode<Bone, TransformNode>
{
public:
    /// A bone always keeps the product.
    void takeMatrix(f64* out, const f64* m, bool) override { keepMatrix(out, m); }
    const f64* getBoneMatrix() const override { return matrix.m; }
};

class ArgAnimatedBone final : public BoneNode<ArgAnimatedBone, ArgAnimationNode>
{
public:
    /// Always the identity.
    const f64* getBoneMatrix() const override
    {
        static constexpr matrixd identity;
        return identity.m;
    }
};
} // namespace model
