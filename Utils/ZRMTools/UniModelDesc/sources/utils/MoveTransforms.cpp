#include <algorithm>
#include <utility>

#include "ObjectRegistry.h"
#include "RootNode.h"
#include "nodes/BaseMeshRenderNode.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/TransformNode.h"
#include "utils/TransformTree.h"

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

void TransformTree::sortByWalk(zr::vector<Node*>& nodes) const
{
    std::sort(nodes.begin(), nodes.end());
    nodes.erase(std::unique(nodes.begin(), nodes.end()), nodes.end());
    if (nodes.size() < 2) return;
    phmap::flat_hash_set<const Node*> wanted(nodes.begin(), nodes.end());
    nodes.clear();
    const std::size_t count = wanted.size();
    // The walk goes along the links and keeps no path.
    for (Node* node = root.rootTransform.get(); node && nodes.size() < count;)
    {
        if (wanted.find(node) != wanted.end()) nodes.push_back(node);
        Node* next = node->firstChild();
        for (Node* up = node; !next && up != root.rootTransform.get(); up = up->parent())
            next = up->nextSibling();
        node = next;
    }
}

std::size_t TransformTree::moveTransforms()
{
    zr::vector<Node*> candidates = std::exchange(maybeMovable, {});
    const auto isGone = [this](const Node* node) { return !isInTree(*node); };
    candidates.erase(std::remove_if(candidates.begin(), candidates.end(), isGone), candidates.end());
    sortByWalk(candidates);

    std::size_t moved = 0;
    Bakes bakes;
    for (std::size_t i = 0; i < candidates.size(); ++i)
    {
        auto& transform = static_cast<TransformNode&>(*candidates[i]);
        const Node* parent = transform.parent();
        if (!parent || parent->isOptimizationBarrier())
        {
            maybeMovable.insert(maybeMovable.end(), candidates.begin() + static_cast<std::ptrdiff_t>(i),
                                candidates.end());
            moved = 0;
            break;
        }
        if (!moveUsers(transform, bakes, moved)) continue;
        zr::vector<Node*> children;
        for (Node* child = transform.firstChild(); child; child = child->nextSibling())
            children.push_back(child);
        for (Node* child : children)
            moved += moveToChild(transform, *child);
    }
    return moved;
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
        replaceControlNode(child, *carrier);
        hangAllChildren(child, *carrier, nullptr);
        hang(child, *carrier, nullptr);
        noteNew(*carrier);
        break;
    }
    default:
        return false;
    }
    hang(parent, child, &transform);
    return true;
}
} // namespace model
