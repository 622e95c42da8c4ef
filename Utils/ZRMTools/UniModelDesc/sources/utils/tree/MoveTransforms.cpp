#include <algorithm>
#include <utility>

#include "RootNode.h"
#include "base/ObjectRegistry.h"
#include "nodes/BaseMeshRenderNode.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/TransformNode.h"
#include "utils/tree/TransformTree.h"

namespace model
{
namespace
{
Vertices* verticesOf(BaseNode& node)
{
    if (auto* mesh = dynamic_cast<BaseMeshRenderNode*>(&node)) return &mesh->vertices;
    if (auto* lights = dynamic_cast<FakeSpotLights3Node*>(&node)) return &lights->vertices;
    return nullptr;
}

bool hasOneVisibilityChild(const Node& node)
{
    const Node* child = node.firstChild();
    return child && child == node.lastChild() && child->getType() == kArgVisibilityNode;
}
} // namespace

/// Bakes matrices into what hangs on the tree. A mesh on many nodes would be gone through once for each of them, so its
/// matrices are collected and applied together.
class TransformTree::Bakes
{
public:
    /// Whether the user can take the matrix.
    bool apply(const Use& use, const f64* m)
    {
        Vertices* vertices = use.user->getNumControlNodes() > 1 ? verticesOf(*use.user) : nullptr;
        if (!vertices) return use.user->applyMatrix(use.index, m);
        const auto [found, isNew] = places.try_emplace(vertices, static_cast<u32>(pending.size()));
        if (isNew) pending.push_back({vertices, {}});
        matrixd copy;
        std::copy_n(m, 16, copy.m);
        pending[found->second].matrices.emplace_back(use.index, copy);
        return true;
    }

    /// Applies what was collected, also when the pass is left by an exception.
    ~Bakes()
    {
        for (const Pending& mesh : pending)
        {
            zr::vector<SelectorMatrix> list;
            for (const auto& [selector, matrix] : mesh.matrices)
                list.push_back({selector, matrix.m});
            mesh.vertices->applyMatrices(list);
        }
    }

private:
    struct Pending
    {
        Vertices* vertices;
        zr::vector<std::pair<u32, matrixd>> matrices;
    };

    zr::vector<Pending> pending;
    phmap::flat_hash_map<const Vertices*, u32> places;
};

zr::vector<Node*> TransformTree::takeCandidates()
{
    zr::vector<Node*> candidates = std::exchange(maybeMovable, {});
    const auto isGone = [this](const Node* node) { return !isInTree(*node); };
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isGone), candidates.end());
    // The addresses decide nothing: what order counts is made below.
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
    return candidates;
}

void TransformTree::sortByWalk(zr::vector<Node*>& nodes) const
{
    if (nodes.size() < 2) return;
    const phmap::flat_hash_set<const Node*> wanted(nodes.begin(), nodes.end());
    nodes.clear();
    // The walk goes along the links and keeps no path.
    for (Node* node = root.rootTransform.get(); node && nodes.size() < wanted.size();)
    {
        if (wanted.find(node) != wanted.end()) nodes.push_back(node);
        Node* next = node->firstChild();
        for (Node* up = node; !next && up != root.rootTransform.get(); up = up->parent())
            next = up->nextSibling();
        node = next;
    }
}

/// Each node behind its parent, when both are there: the parent's matrix comes into it first, and what it gives to its
/// parent doesn't move twice. Transforms that have another node between them don't meet.
void TransformTree::sortByParents(zr::vector<Node*>& nodes) const
{
    if (nodes.size() < 2) return;
    phmap::flat_hash_set<const Node*> waiting(nodes.begin(), nodes.end());
    zr::vector<Node*> sorted;
    zr::vector<Node*> path;
    for (Node* node : nodes)
    {
        for (Node* at = node; at && waiting.erase(at) != 0; at = at->parent())
            path.push_back(at);
        for (; !path.empty(); path.pop_back())
            sorted.push_back(path.back());
    }
    nodes = std::move(sorted);
}

bool TransformTree::canEnterPipe(const Node& node) const
{
    return hasOneVisibilityChild(node) && node.parent()->getType() == kArgVisibilityNode &&
           carriers.find(&node) != carriers.end() && !users.isUsed(&node);
}

bool TransformTree::isPassable(const Node& node) const
{
    return node.getType() == kArgVisibilityNode && hasOneVisibilityChild(node) && !users.isUsed(&node);
}

void TransformTree::fillPipes(zr::vector<Node*>& candidates)
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

void TransformTree::emptyPipes()
{
    for (const CarrierPipes::Carrier& carrier : pipes.takeAll(round))
    {
        carrier.place->parent()->insert(carrier.node, carrier.place);
        carrier.node->insert(carrier.place, nullptr);
        noteNew(*carrier.node);
    }
}

/// Puts a carrier between a node and all that hangs on and below it.
void TransformTree::hangBelow(Node& node, Node& carrier)
{
    replaceControlNode(node, carrier);
    hangAllChildren(node, carrier, nullptr);
    hang(node, carrier, nullptr);
    noteNew(carrier);
}

std::size_t TransformTree::moveTransforms()
{
    ++round;
    zr::vector<Node*> candidates = takeCandidates();
    const auto endsWalk = [](const Node* node) { return !node->parent() || node->parent()->isOptimizationBarrier(); };
    const bool endsEarly = std::any_of(candidates.begin(), candidates.end(), endsWalk);
    std::size_t moved = 0;
    if (isWalkOrdered || endsEarly)
        sortByWalk(candidates);
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
        if (endsEarly && endsWalk(candidates[i]))
        {
            maybeMovable.insert(maybeMovable.end(), candidates.begin() + static_cast<std::ptrdiff_t>(i),
                                candidates.end());
            return 0;
        }
        moveTransform(static_cast<TransformNode&>(*candidates[i]), bakes, moved);
    }
    return moved;
}

void TransformTree::moveTransform(TransformNode& transform, Bakes& bakes, std::size_t& moved)
{
    if (!moveUsers(transform, bakes, moved)) return;
    zr::vector<Node*> children;
    for (Node* child = transform.firstChild(); child; child = child->nextSibling())
        children.push_back(child);
    for (Node* child : children)
        moved += moveToChild(transform, *child);
}

bool TransformTree::moveUsers(TransformNode& transform, Bakes& bakes, std::size_t& moved)
{
    const zr::vector<Use> uses = users.take(&transform);
    ObjectPtr<Node> place;
    bool areAllMoved = true;
    for (const Use& use : uses)
    {
        if (!bakes.apply(use, transform.matrix.m))
        {
            users.restore(use, &transform);
            areAllMoved = false;
            continue;
        }
        if (!place)
        {
            place = create<Node>("model::Node");
            hang(*transform.parent(), *place, &transform);
            hang(*place, transform, nullptr);
        }
        users.hang(use, place);
        ++moved;
    }
    if (place) noteNew(*place);
    noteLeaf(transform);
    return areAllMoved;
}

bool TransformTree::moveToChild(TransformNode& transform, Node& child)
{
    // The attachments may have put a new node above the transform.
    Node& parent = *transform.parent();
    switch (child.transformMoveRule())
    {
    case 0:
        child.applyMatrix(transform.matrix.m);
        if (child.getType() == kTransformNode) maybeEmpty.push_back(&child);
        break;
    case 2:
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
    hang(parent, child, &transform);
    return true;
}
} // namespace model
