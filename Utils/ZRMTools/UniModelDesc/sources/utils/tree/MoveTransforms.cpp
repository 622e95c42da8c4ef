#include "utils/tree/MoveTransforms.h"

#include <algorithm>
#include <utility>

#include "utils/tree/CandidateOrder.h"

namespace model::utils
{
namespace
{
/// What `OptimizerTrait::transformMoveRule` says of a child.
enum MoveRule
{
    kTakes = 0,   ///< into its own matrix
    kRefuses = 1, ///< the matrix stays above
    kPasses = 2,  ///< a carrier below the child takes it
};

bool hasOneVisibilityChild(const ShadowTree& tree, u32 node)
{
    const u32 child = tree[node].firstChild;
    return child != kNoNode && child == tree[node].lastChild && tree[child].type == kArgVisibilityNode;
}
} // namespace

MoveTransforms::MoveTransforms(NotedTree& notedTree)
    : tree(notedTree),
      nodes(tree.nodes),
      isWalkOrdered(tree.isHung() || tree.users.hasOrder()),
      pipes(nodes)
{
}

std::size_t MoveTransforms::run()
{
    ++round;
    zr::vector<u32>& candidates = takeCandidates();
    const auto ends = [this](u32 transform) { return endsRound(transform); };
    const bool endsEarly = std::any_of(candidates.begin(), candidates.end(), ends);
    std::size_t moved = 0;
    if (isWalkOrdered || endsEarly)
        sortByWalk(candidates, nodes, round);
    else
    {
        fillPipes(candidates);
        sortByParents(candidates, nodes, round);
        hasEmptiedCarriers = !pipes.empty();
        moved += hasEmptiedCarriers;
        for (const CarrierPipes::Carrier& carrier : pipes.takeLeaving(round))
            hangBelow(carrier.place, carrier.node);
    }

    Bakes bakes;
    for (std::size_t i = 0; i < candidates.size(); ++i)
    {
        if (endsEarly && endsRound(candidates[i]))
        {
            for (; i < candidates.size(); ++i)
                tree.note(kMaybeMovable, candidates[i]);
            return 0;
        }
        moved += move(candidates[i], bakes);
    }
    return moved;
}

std::size_t MoveTransforms::takeEmptied()
{
    return std::exchange(hasEmptiedCarriers, false) ? 1 : 0;
}

void MoveTransforms::stop()
{
    for (const CarrierPipes::Carrier& carrier : pipes.takeAll(round))
    {
        nodes.insert(nodes[carrier.place].parent, carrier.node, carrier.place);
        nodes.insert(carrier.node, carrier.place, kNoNode);
        tree.noteNew(carrier.node);
    }
}

zr::vector<u32>& MoveTransforms::takeCandidates()
{
    zr::vector<u32>& candidates = tree.take(kMaybeMovable);
    std::erase_if(candidates,
                  [this](u32 node)
                  {
                      const bool isCandidate = nodes[node].type == kTransformNode && tree.isInTree(node);
                      return !isCandidate || std::exchange(nodes[node].round, round) == round; // noted twice
                  });
    return candidates;
}

bool MoveTransforms::endsRound(u32 transform) const
{
    return !tree.canLeave(transform);
}

/// Carriers only: they come with the second round. In the first one a pipe could lead to nodes that nothing uses, which
/// go while it is in use; what is there later ends in something that is used or below a barrier, and stays.
bool MoveTransforms::canEnterPipe(u32 node) const
{
    return nodes[node].isCarrier && hasOneVisibilityChild(nodes, node) &&
           nodes[nodes[node].parent].type == kArgVisibilityNode && !tree.users.isUsed(node);
}

bool MoveTransforms::isPassable(u32 node) const
{
    return nodes[node].type == kArgVisibilityNode && hasOneVisibilityChild(nodes, node) && !tree.users.isUsed(node);
}

/// Takes the carriers that can enter a pipe out of the candidates and out of the tree.
void MoveTransforms::fillPipes(zr::vector<u32>& candidates)
{
    const auto first =
        std::partition(candidates.begin(), candidates.end(), [this](u32 node) { return !canEnterPipe(node); });
    zr::vector<CarrierPipes::Carrier> entering;
    for (auto at = first; at != candidates.end(); ++at)
    {
        const u32 child = nodes[*at].firstChild;
        entering.push_back({*at, child});
        nodes.insert(nodes[*at].parent, child, *at);
        nodes.detach(*at);
    }
    candidates.erase(first, candidates.end());
    // A pipe is laid only now, when no carrier stands in its way.
    for (const CarrierPipes::Carrier& carrier : entering)
        pipes.put(carrier, round, [this](u32 node) { return isPassable(node); });
}

/// Puts a carrier between a node and all that hangs on and below it.
void MoveTransforms::hangBelow(u32 node, u32 carrier)
{
    tree.replaceControlNode(node, carrier);
    tree.hangAllChildren(node, carrier, kNoNode);
    tree.hang(node, carrier, kNoNode);
    tree.noteNew(carrier);
}

std::size_t MoveTransforms::move(u32 transform, Bakes& bakes)
{
    std::size_t moved = 0;
    const matrixd matrix = nodes.matrixOf(transform); // what is made meanwhile may move the original
    if (!moveUsers(transform, matrix, bakes, moved)) return moved;
    for (u32 child = nodes[transform].firstChild; child != kNoNode;)
    {
        const u32 next = nodes[child].next;
        moved += moveToChild(transform, matrix, child);
        child = next;
    }
    return moved;
}

/// Returns whether nothing stayed on the transform.
bool MoveTransforms::moveUsers(u32 transform, const matrixd& matrix, Bakes& bakes, std::size_t& moved)
{
    u32 place = kNoNode;
    bool areAllMoved = true;
    for (const u32 use : tree.users.take(transform))
    {
        if (!bakes.apply(tree.users[use], matrix))
        {
            tree.users.restore(use, transform);
            areAllMoved = false;
            continue;
        }
        if (place == kNoNode)
        {
            place = nodes.make();
            tree.hang(nodes[transform].parent, place, transform);
            tree.hang(place, transform, kNoNode);
        }
        tree.users.hang(use, place);
        ++moved;
    }
    if (place != kNoNode) tree.noteNew(place);
    tree.noteLeaf(transform);
    return areAllMoved;
}

/// Returns whether the child took the matrix and left the transform.
bool MoveTransforms::moveToChild(u32 transform, const matrixd& matrix, u32 child)
{
    switch (nodes[child].moveRule)
    {
    case kTakes:
        nodes.applyMatrix(child, matrix);
        if (nodes[child].type == kTransformNode) tree.note(kMaybeEmpty, child);
        break;
    case kPasses:
    {
        const u32 carrier = nodes.makeTransform(nodes[transform].namesake, matrix);
        nodes[carrier].isCarrier = true;
        hangBelow(child, carrier);
        break;
    }
    default:
        return false;
    }
    // What hung on the transform may have put a new node above it.
    tree.hang(nodes[transform].parent, child, transform);
    return true;
}
} // namespace model::utils
