#pragma once

#include "nodes/Node.h"

namespace model::utils
{
/// What may stand for a node that does nothing, or nothing that needs its class: a plain node for an identity transform
/// or a visibility node without ranges; a plain node or a transform for an animation without keys; a bone at rest for
/// an animated one without keys. Null for any other node. The new node has no name and no properties.
ObjectPtr<Node> replacementOf(const Node& node);

/// Whether all elements are those of the identity within 1e-5 (as `f32`).
bool isIdentity(const matrixd& matrix);
} // namespace model::utils
