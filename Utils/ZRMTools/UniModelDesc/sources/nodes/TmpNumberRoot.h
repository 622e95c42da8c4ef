#pragma once

#include "nodes/Node.h"
#include "nodes/NumberControl.h"

namespace model
{
/// The node above the digits of a number display. Its controls do not reach the file: it is written as a plain node.
class TmpNumberRoot final : public NodeClass<TmpNumberRoot, Node>
{
public:
    zr::vector<NumberControl> controls;

    /// For appending.
    zr::vector<NumberControl>& getControls() { return controls; }

    int transformMoveRule() const override { return 1; }
};
} // namespace model
