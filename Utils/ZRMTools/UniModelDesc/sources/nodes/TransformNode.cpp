#include "nodes/TransformNode.h"

#include <algorithm>

namespace model
{
void TransformNode::takeMatrix(f64* out, const f64* m, bool clear)
{
    if (!clear)
    {
        keepMatrix(out, m);
        return;
    }
    const matrixd product = multiply(matrix.m, m);
    std::copy(std::begin(product.m), std::end(product.m), out);
    matrix = {};
}

void TransformNode::keepMatrix(f64* out, const f64* m)
{
    multiplyBy(matrix.m, m);
    const matrixd identity;
    std::copy(std::begin(identity.m), std::end(identity.m), out);
}

void TransformNode::accumulateOwn(const IModelArguments&, f64* m) const
{
    multiplyBy(m, matrix.m);
}
} // namespace model
