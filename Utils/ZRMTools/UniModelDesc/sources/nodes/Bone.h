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

class Bone final : public TransformNode, public IBone
{
public:
    matrixd invertedBaseBoneMatrix;

    u32 getType() const override { return kBone; }
    void accept(INodeVisitor& visitor) const override;

    int transformMoveRule() const override { return 1; }
    void applyMatrix(const f64*) override {}
    /// A bone always keeps the product.
    void takeMatrix(f64* out, const f64* m, bool) override { keepMatrix(out, m); }

    void setInvertedBaseBoneMatrix(const f64* m) override;
    const f64* getInvertedBaseBoneMatrix() const override { return invertedBaseBoneMatrix.m; }
    const Node* getNode() const override { return this; }
    Node* getNode() override { return this; }
    const f64* getBoneMatrix() const override { return matrix.m; }
};

class ArgAnimatedBone final : public ArgAnimationNode, public IBone
{
public:
    matrixd invertedBaseBoneMatrix;

    u32 getType() const override { return kArgAnimatedBone; }
    void accept(INodeVisitor& visitor) const override;

    int transformMoveRule() const override { return 1; }
    void applyMatrix(const f64*) override {}

    void setInvertedBaseBoneMatrix(const f64* m) override;
    const f64* getInvertedBaseBoneMatrix() const override { return invertedBaseBoneMatrix.m; }
    const Node* getNode() const override { return this; }
    Node* getNode() override { return this; }
    /// Always the identity.
    const f64* getBoneMatrix() const override;
};
} // namespace model
