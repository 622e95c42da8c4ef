#pragma once

#include "nodes/Node.h"

namespace model
{
/// Whether the walk up from `from`, itself included, meets a node of class T before `ancestor`, which is not looked at.
template <class T>
bool checkParentNodes(const Node* from, const Node* ancestor)
{
    bool isMet = false;
    if (from)
        from->walkUp(
            [&](const Node* node)
            {
                isMet = node != ancestor && dynamic_cast<const T*>(node);
                return node != ancestor && !isMet;
            });
    return isMet;
}
} // namespace model
