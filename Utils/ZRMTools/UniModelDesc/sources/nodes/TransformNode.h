#pragma once

#include "base/Matrix.h"
#include "nodes/Node.h"

namespace model
{
/// A node with a fixed matrix.
class TransformNode : public NodeClass<TransformNode, Node>
{
public:
    matrixd matrix;

    const matrixd& getMatrix() const { return matrix; }
    void setMatrix(const matrixd& value) { matrix = value; }

    int transformMoveRule() const override { return 0; }
    void applyMatrix(const f64* m) override { multiplyBy(matrix.m, m); }
    /// With `clear` the product is handed on and the own matrix becomes the identity; without, the node keeps it.
    void takeMatrix(f64* out, const f64* m, bool clear) override;

protected:
    void accumulateOwn(const IModelArguments& arguments, f64* m) const override;

    /// matrix := matrix x m, out := identity.
    void keepMatrix(f64* out, const f64* m);
};
} // namespace model
