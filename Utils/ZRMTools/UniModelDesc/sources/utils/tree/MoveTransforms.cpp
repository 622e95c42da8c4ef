#include "utils/tree/MoveTransforms.h"

#include <algorithm>
#include <utility>

#include "base/ObjectRegistry.h"
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

bool hasOneVisibilityChild(const Node& node)
{
    const Node* child = node.firstChild();
    return child && child == node.lastChild() && child->getType() == kArgVisibilityNode;
}

bool endsRound(const Node* transform)
{
    return !NotedTree::canLeave(*transform);
}
} // namespace

MoveTransforms::MoveTransforms(NotedTree& notedTree) : tree(notedTree), isWalkOrdered(notedTree.isHung())
{
    for (const ObjectPtr<BaseNode>& user : tree.root.getAllNodes())
        isWalkOrdered |= user && dependsOnOrder(*user);
}

std::size_t MoveTransforms::run()
{
    ++round;
    zr::vector<Node*> candidates = takeCandidates();
    const bool endsEarly = std::any_of(candidates.begin(), candidates.end(), endsRound);
    std::size_t moved = 0;
    if (isWalkOrdered || endsEarly)
        sortByWalk(candidates, tree.top());
    else
    {
        fillPipes(candidates);
        sortByParents(candidates);
        hasEmptiedCarriers = !pipes.empty();
        moved += hasEmptiedCarriers;
        for (const CarrierPipes::Carrier& carrier : pipes.takeLeaving(round))
            hangBelow(*carrier.place, *carrier.node);
    }

    Bakes bakes;
    for (std::size_t i = 0; i < candidates.size(); ++i)
    {
        if (endsEarly && endsRound(candidates[i]))
        {
            for (; i < candidates.size(); ++i)
                tree.note(kMaybeMovable, *candidates[i]);
            return 0;
        }
        moved += move(static_cast<TransformNode&>(*candidates[i]), bakes);
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
        carrier.place->parent()->insert(carrier.node, carrier.place);
        carrier.node->insert(carrier.place, nullptr);
        tree.noteNew(*carrier.node);
    }
}

zr::vector<Node*> MoveTransforms::takeCandidates()
{
    zr::vector<Node*> candidates = tree.take(kMaybeMovable);
    const auto isGone = [this](const Node* node) { return !tree.isInTree(*node); };
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isGone), candidates.end());
    // The addresses decide nothing: what order counts is made by `run`.
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
    return candidates;
}

bool MoveTransforms::canEnterPipe(const Node& node) const
{
    return hasOneVisibilityChild(node) && node.parent()->getType() == kArgVisibilityNode &&
           carriers.find(&node) != carriers.end() && !tree.users.isUsed(&node);
}

bool MoveTransforms::isPassable(const Node& node) const
{
    return node.getType() == kArgVisibilityNode && hasOneVisibilityChild(node) && !tree.users.isUsed(&node);
}

/// Takes the carriers that can enter a pipe out of the candidates and out of the tree.
void MoveTransforms::fillPipes(zr::vector<Node*>& candidates)
{
    const auto first =
        std::partition(candidates.begin(), candidates.end(), [this](const Node* node) { return !canEnterPipe(*node); });
    zr::vector<CarrierPipes::Carrier> entering;
    for (auto at = first; at != candidates.end(); ++at)
    {
        const ObjectPtr<Node> carrier(*at);
        Node& parent = *carrier->parent();
        entering.push_back({carrier, carrier->firstChild()});
        parent.insert(carrier->firstChild(), carrier);
        parent.remove(carrier);
    }
    candidates.erase(first, candidates.end());
    // A pipe is laid only now, when no carrier stands in its way.
    for (const CarrierPipes::Carrier& carrier : entering)
        pipes.put(carrier.node, *carrier.place, round, [this](const Node& node) { return isPassable(node); });
}

/// Puts a carrier between a node and all that hangs on and below it.
void MoveTransforms::hangBelow(Node& node, Node& carrier)
{
    tree.replaceControlNode(node, carrier);
    tree.hangAllChildren(node, carrier, nullptr);
    tree.hang(node, carrier, nullptr);
    tree.noteNew(carrier);
}

std::size_t MoveTransforms::move(TransformNode& transform, Bakes& bakes)
{
    std::size_t moved = 0;
    if (!moveUsers(transform, bakes, moved)) return moved;
    zr::vector<Node*> children;
    for (Node* child = transform.firstChild(); child; child = child->nextSibling())
        children.push_back(child);
    for (Node* child : children)
        moved += moveToChild(transform, *child);
    return moved;
}

/// Returns whether nothing stayed on the transform.
bool MoveTransforms::moveUsers(TransformNode& transform, Bakes& bakes, std::size_t& moved)
{
    const zr::vector<Use> uses = tree.users.take(&transform);
    ObjectPtr<Node> place;
    bool areAllMoved = true;
    for (const Use& use : uses)
    {
        if (!bakes.apply(use, transform.matrix))
        {
            tree.users.restore(use, &transform);
            areAllMoved = false;
            continue;
        }
        if (!place)
        {
            place = create<Node>("model::Node");
            tree.hang(*transform.parent(), *place, &transform);
            tree.hang(*place, transform, nullptr);
        }
        tree.users.hang(use, place);
        ++moved;
    }
    if (place) tree.noteNew(*place);
    tree.noteLeaf(transform);
    return areAllMoved;
}

/// Returns whether the child took the matrix and left the transform.
bool MoveTransforms::moveToChild(TransformNode& transform, Node& child)
{
    // The attachments may have put a new node above the transform.
    Node& parent = *transform.parent();
    switch (child.transformMoveRule())
    {
    case kTakes:
        child.applyMatrix(transform.matrix.m);
        if (child.getType() == kTransformNode) tree.note(kMaybeEmpty, child);
        break;
    case kPasses:
    {
        const auto carrier = create<TransformNode>("model::TransformNode");
        carrier->name = transform.name;
        carrier->setMatrix(transform.getMatrix());
        carriers.insert(carrier.get());
        hangBelow(child, *carrier);
        break;
    }
    default:
        return false;
    }
    tree.hang(parent, child, &transform);
    return true;
}
} // namespace model::utils
