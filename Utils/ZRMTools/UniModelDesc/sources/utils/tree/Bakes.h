#pragma once

#include <utility>

#include <parallel_hashmap/phmap.h>

#include "base/types.h"
#include "utils/tree/NodeUsers.h"

namespace model::utils
{
/// Bakes matrices into what hangs on the tree. Meshes and lights on many nodes would be gone through once for each of
/// them, so their matrices are collected and applied together when this ends. The data of one control node see their
/// matrices in the order of the calls, and those of different control nodes don't meet: the result is the same.
class Bakes
{
public:
    Bakes() = default;
    Bakes(const Bakes&) = delete;
    Bakes& operator=(const Bakes&) = delete;
    /// Applies what was collected, also when the pass is left by an exception.
    ~Bakes();

    /// Whether the user can take the matrix.
    /// @throws what `BaseNode::applyMatrix` raises
    bool apply(const Use& use, const matrixd& matrix);

private:
    struct Pending
    {
        BaseNode* user = nullptr;
        zr::vector<std::pair<u32, matrixd>> matrices;
    };

    zr::vector<Pending> pending;
    phmap::flat_hash_map<const BaseNode*, u32> places;
};

/// Whether the matrices of a user may wait for those of its other control nodes.
bool canWait(BaseNode& user);

/// Whether the order in which different control nodes of a user take their matrices shows: its data move all at once
/// with each of them, or can't be moved and end the pass.
bool dependsOnOrder(BaseNode& user);
} // namespace model::utils
