#include "finishing/BoundingBox.h"

#include <unordered_map>

#include "RootNode.h"
#include "base/Matrix.h"
#include "nodes/BaseRenderNode.h"
#include "nodes/LightNode.h"
#include "nodes/ShellNode.h"

namespace model
{
namespace
{
/// The matrices from control nodes to the root, at rest.
///
/// Each is the product in the order in which `accumulateMatrix` forms it, from the control node up: products that share
/// the ancestors' part round differently, and a box could differ in its last bits. That costs the depth for each
/// control node, so it has a budget, which only thousands of control nodes on chains of thousands of nodes use up.
/// Behind it the parents' products are shared, and no tree costs more than its size.
class WorldMatrices
{
public:
    /// The identity for null: whether something may go without a control node is the writer's business. Valid until the
    /// next call.
    const f64* get(const Node* node)
    {
        const auto known = matrices.find(node);
        if (known != matrices.end()) return known->second.m;
        return isWithinBudget(node) ? fromBelow(node) : fromAbove(node);
    }

private:
    static constexpr std::size_t kBudget = std::size_t{1} << 21;

    bool isWithinBudget(const Node* node)
    {
        for (; node && steps < kBudget; node = node->parent())
            ++steps;
        return steps < kBudget;
    }

    const f64* fromBelow(const Node* node)
    {
        matrixd& matrix = matrices[node];
        if (node) node->accumulateMatrix(DummyArguments(), matrix.m);
        return matrix.m;
    }

    const f64* fromAbove(const Node* node)
    {
        zr::vector<const Node*> path;
        const Node* known = node;
        for (; known && !matrices.contains(known); known = known->parent())
            path.push_back(known);
        matrixd world = known ? matrices[known] : matrixd();
        for (std::size_t i = path.size(); i-- > 0;)
        {
            matrixd own;
            path[i]->accumulateMatrix(DummyArguments(), own.m, path[i]->parent());
            world = multiply(own, world);
            matrices[path[i]] = world;
        }
        return matrices[node].m;
    }

    std::unordered_map<const Node*, matrixd> matrices;
    std::size_t steps = 0;
};

void widen(Box& box, const Box& part)
{
    if (!part.isSet()) return;
    box.extend(part.min.x(), part.min.y(), part.min.z());
    box.extend(part.max.x(), part.max.y(), part.max.z());
}

/// The largest value of a float property, animated or not, and `least`.
f32 largestValue(const IProperty* property, f32 least)
{
    const auto larger = [&least](f32 value) { least = value > least ? value : least; };
    if (const auto* fixed = dynamic_cast<const FloatProperty*>(property))
        larger(fixed->getValue());
    else if (const auto* animated = dynamic_cast<const AnimatedFloatProperty*>(property))
        for (const Key<f32>& key : animated->getKeys())
            larger(key.value);
    return least;
}
} // namespace

Box transformBox(const Box& box, const f64* m)
{
    Box result;
    const vec3f ends[2] = {box.min, box.max};
    for (int corner = 0; corner < 8; ++corner)
    {
        const f64 x = ends[corner & 1].x();
        const f64 y = ends[corner >> 1 & 1].y();
        const f64 z = ends[corner >> 2].z();
        const auto column = [&](int c) { return x * m[c] + y * m[4 + c] + z * m[8 + c] + m[12 + c]; };
        const f64 inverseW = 1.0 / column(3);
        result.extend(static_cast<f32>(column(0) * inverseW), static_cast<f32>(column(1) * inverseW),
                      static_cast<f32>(column(2) * inverseW));
    }
    return result;
}

Box computeBoundingBox(const RootNode& root)
{
    Box result;
    WorldMatrices matrices;
    for (const ObjectPtr<BaseNode>& entry : root.renderNodes)
    {
        const BaseRenderNode* node = entry->asRenderNode();
        if (!node) continue;
        const zr::vector<Box> parts = node->getBoundingBoxes();
        for (std::size_t i = 0; i < parts.size(); ++i)
            if (parts[i].isSet()) widen(result, transformBox(parts[i], matrices.get(node->getControlNode(i).get())));
    }
    for (const ObjectPtr<BaseNode>& entry : root.shellNodes)
    {
        const auto* node = dynamic_cast<const BaseShellNode*>(entry.get());
        if (!node) continue;
        // A shell skin without bones has no control node at all.
        const ObjectPtr<Node> control = node->getNumControlNodes() ? node->getControlNode(0) : ObjectPtr<Node>();
        widen(result, transformBox(node->getBoundingBox(), matrices.get(control.get())));
    }
    return result;
}

Box computeLightBox(const RootNode& root)
{
    f32 reach = 0.0f;
    for (const ObjectPtr<BaseNode>& entry : root.lights)
        if (const auto* light = dynamic_cast<const LightNode*>(entry.get()))
            reach = largestValue(light->distance.get(), reach);
    Box box = root.boundingBox;
    for (int axis = 0; axis < 3; ++axis)
    {
        box.min[axis] -= reach;
        box.max[axis] += reach;
    }
    return box;
}
} // namespace model
