#include "inc/VertexChecks.h"

#include <algorithm>

namespace pyzrm
{
zr::string findEmptyAttribute(const model::Vertices& vertices, std::initializer_list<zr::i32> builtLater)
{
    for (const auto& [semantic, attribute] : vertices.getAttributes())
    {
        const bool later = std::find(builtLater.begin(), builtLater.end(), semantic) != builtLater.end();
        if (attribute.data.empty() && !later)
            return zr::string("Vetex attribute ") + model::getSemanticName(semantic) + " isn't set.";
    }
    return {};
}
} // namespace pyzrm
