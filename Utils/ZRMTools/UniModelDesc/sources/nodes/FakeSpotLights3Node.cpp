#include "nodes/FakeSpotLights3Node.h"

#include "base/INodeVisitor.h"

namespace model
{
void FakeSpotLights3Node::accept(INodeVisitor& visitor) const
{
    visitor.visit(*this);
}

bool FakeSpotLights3Node::applyMatrix(u32 index, const f64* m)
{
    vertices.applyMatrix(m, index);
    return true;
}

u32 FakeSpotLights3Node::getPrimitiveCount() const
{
    // Beyond 2^31 vertices the count no longer fits.
    const f32 primitives = 2.0f * static_cast<f32>(vertices.getVertexCount());
    return primitives < 4294967296.0f ? static_cast<u32>(primitives) : 0xFFFFFFFFu;
}
} // namespace model
