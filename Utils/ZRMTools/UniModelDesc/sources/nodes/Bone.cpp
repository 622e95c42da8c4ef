#include "nodes/Bone.h"

#include <algorithm>

#include "base/INodeVisitor.h"

namespace model
{
void Bone::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}

void Bone::setInvertedBaseBoneMatrix(const f64* m)
{
    std::copy(m, m + 16, invertedBaseBoneMatrix.m);
}

void ArgAnimatedBone::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}

void ArgAnimatedBone::setInvertedBaseBoneMatrix(const f64* m)
{
    std::copy(m, m + 16, invertedBaseBoneMatrix.m);
}

const f64* ArgAnimatedBone::getBoneMatrix() const
{
    static constexpr matrixd identity;
    return identity.m;
}
} // namespace model
