#include "bind/Binder.h"
#include "inc/Shells.h"

namespace pyzrm
{
void bindShells()
{
    using Name = const zr::string&;
    const auto name = [](const auto& facade) { return facade.getName(); };

    Binder<SegmentsNode>()
        .constructor<Name>()
        .method("set", &SegmentsNode::set)
        .method("setControlNode", &SegmentsNode::setControlNode)
        .repr("SegmentsNode", name);
    Binder<ShellNode>()
        .constructor<Name>()
        .method("setIndices", &ShellNode::setIndices)
        .method("setPositions", &ShellNode::setPositions)
        .method("setControlNode", &ShellNode::setControlNode)
        .repr("ShellNode", name);
    Binder<Connector>()
        .constructor<Name>()
        .method("setControlNode", &Connector::setControlNode)
        .method("setPropertyFloat", &Connector::setPropertyFloat)
        .method("setPropertyString", &Connector::setPropertyString)
        .repr("Connector", name);
}
} // namespace pyzrm
