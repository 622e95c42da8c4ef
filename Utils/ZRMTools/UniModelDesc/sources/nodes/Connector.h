#pragma once

#include "nodes/SingleControlNode.h"

namespace model
{
/// A named place where other models attach; all it carries are its name and properties.
class Connector final : public NodeClass<Connector, SingleControlNode>
{
};
} // namespace model
