#include "bind/describe.h"

namespace pyzrm
{
zr::string describeNodes(const IRenderNode& facade)
{
    const NodeList nodes = facade.getNodes();
    if (nodes.empty()) return "EMPTY_NODE";
    if (nodes.size() == 1) return nodes[0]->getName();
    zr::string names;
    for (const auto& node : nodes)
        names += node->getName() + ",";
    return names;
}
} // namespace pyzrm
