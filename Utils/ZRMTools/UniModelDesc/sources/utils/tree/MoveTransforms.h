#pragma once

#include "utils/tree/Bakes.h"
#include "utils/tree/CarrierPipes.h"
#include "utils/tree/NotedTree.h"

namespace model::utils
{
/// Moves the matrix of each transform into what hangs on it and into its children, one level in each round.
///
///     P            P            1. What hangs on T takes the matrix and goes to a new plain node I in T's place; what
///     └ T *        ├ I *           can't take it (a light) stays, and then the children stay as well.
///       ├ U        │ └ T        2. The children go up to T's place: a transform, bone or animation U takes the matrix
///       ├ V *      │ U'            into its own; a billboard stays with T; a plain or visibility node V gets a
///       │ └ W      │ V             *carrier* C with the matrix below it, which carries on what was on and below V.
///       └ B        │ └ C *      3. An empty T waits for the removal of dead ends.
///                  │   └ W
///                  └ T ─ B      (T is below I when something hung on it.)
///
/// The order of candidates shows only where matrices meet. A transform goes behind its parent; the rest of the walk
/// order counts only for few models (`isWalkOrdered`), and putting it right costs a walk.
class MoveTransforms
{
public:
    explicit MoveTransforms(NotedTree& notedTree);

    /// One round. Returns how many took a matrix, or 0 when the round ended early: at the first transform that is the
    /// top or lies directly below a barrier.
    std::size_t run();
    /// Carriers in pipes leave empty nodes behind as others do; these are not in the tree, but they count. Returns 1
    /// when there were such since the last call, else 0.
    std::size_t takeEmptied();
    /// Hangs all carriers into the tree where they are. To be called when a transform has become the top: it ends every
    /// round from then on.
    void stop();

private:
    zr::vector<u32>& takeCandidates();
    bool endsRound(u32 transform) const;
    bool canEnterPipe(u32 node) const;
    bool isPassable(u32 node) const;
    void fillPipes(zr::vector<u32>& candidates);
    void hangBelow(u32 node, u32 carrier);
    std::size_t move(u32 transform, Bakes& bakes);
    bool moveUsers(u32 transform, const matrixd& matrix, Bakes& bakes, std::size_t& moved);
    bool moveToChild(u32 transform, const matrixd& matrix, u32 child);

    NotedTree& tree;
    ShadowTree& nodes;
    /// Whether the order in which transforms of one round are dealt with shows in the result.
    bool isWalkOrdered = false;
    u32 round = 0;
    CarrierPipes pipes;
    bool hasEmptiedCarriers = false;
};
} // namespace model::utils
