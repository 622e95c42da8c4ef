#include "utils/mesh/TwoSided.h"

#include "mesh/MeshUtils.h"

namespace model
{
void makeTwoSided(BaseMeshRenderNode& node)
{
    if (node.indices.primitiveType != kTriangles) return;
    // All checks come first: a model that fails is saved again by its script, and must not have half a back then.
    Attribute& normals = node.vertices.getAttribute(kNormal0);
    node.vertices.checkConsistent();
    const u32 count = node.vertices.getVertexCount();
    checkIndices(node.indices, count);

    zr::vector<u32>& list = node.indices.indices;
    const std::size_t whole = list.size() / 3 * 3;
    zr::vector<u32> backs;
    backs.reserve(whole);
    for (std::size_t i = 0; i < whole; i += 3)
        for (const u32 index : {list[i], list[i + 2], list[i + 1]})
            backs.push_back(index + count);
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(whole), backs.begin(), backs.end());

    const std::size_t fronts = normals.data.size();
    node.vertices.append(node.vertices);
    for (std::size_t i = fronts; i < normals.data.size(); ++i)
        normals.data[i] = -normals.data[i];
}
} // namespace model
