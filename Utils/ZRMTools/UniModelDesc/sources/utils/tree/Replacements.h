#pragma once

#include "utils/tree/ShadowTree.h"

namespace model::utils
{
/// Makes what may stand for a node that does nothing, or nothing that needs its class: a plain node for an identity
/// transform or a visibility node without ranges; a plain node or a transform for an animation without keys; a bone at
/// rest for an animated one without keys. `kNoNode` for any other node. It has the name and no properties.
u32 makeReplacement(ShadowTree& tree, u32 node);

/// Whether all elements are those of the identity within 1e-5 (as `f32`).
bool isIdentity(const matrixd& matrix);
} // namespace model::utils
