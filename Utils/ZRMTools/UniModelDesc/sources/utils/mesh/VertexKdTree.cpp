#include "utils/mesh/VertexKdTree.h"

#include <algorithm>
#include <limits>

namespace model
{
namespace
{
/// A difference is rounded to 24 bits before it is compared.
constexpr f64 kRounding = 1.000001;
constexpr f64 kInfinity = std::numeric_limits<f64>::infinity();
} // namespace

VertexKdTree::VertexKdTree(const PackedVertices& packed, u32* links, f32 weldTolerance, const FloatRanges& floatRanges)
    : points(packed),
      next(links),
      tolerance(weldTolerance),
      reach(static_cast<f64>(weldTolerance) * kRounding),
      bounds(floatRanges)
{
}

u32 VertexKdTree::create(u32 head)
{
    const u32 tree = static_cast<u32>(nodes.size());
    nodes.emplace_back();
    while (head != kNoVertex)
    {
        const u32 following = next[head];
        insert(tree, head);
        head = following;
    }
    return tree;
}

void VertexKdTree::insert(u32 tree, u32 vertex)
{
    path.clear();
    u32 node = tree;
    while (nodes[node].axis != kLeaf)
    {
        const Side side = sideOf(nodes[node], vertex);
        path.push_back({node, side});
        node = nodes[node].children[side];
    }
    prepend(node, vertex);
    if (nodes[node].size > nodes[node].limit) splitLeaf(node, path);
}

u32 VertexKdTree::findHighest(u32 tree, const f32* point) const
{
    u32 best = kNoVertex;
    pending.assign(1, tree);
    while (!pending.empty())
    {
        const TreeNode& node = nodes[pending.back()];
        pending.pop_back();
        if (node.axis == kLeaf)
        {
            for (u32 i = node.head; i != kNoVertex; i = next[i])
                if ((best == kNoVertex || i > best) && isSamePoint(points[i], point, points.getStride(), tolerance))
                    best = i;
            continue;
        }
        const f64 x = static_cast<f64>(point[node.axis]);
        if (!(x - reach >= node.split)) pending.push_back(node.children[kBelow]);
        if (!(x + reach < node.split)) pending.push_back(node.children[kFrom]);
        pending.push_back(node.children[kNaN]);
    }
    return best;
}

VertexKdTree::Side VertexKdTree::sideOf(const TreeNode& node, u32 vertex) const
{
    const f64 x = coordinate(vertex, node.axis);
    if (std::isnan(x)) return kNaN;
    return x < node.split ? kBelow : kFrom;
}

VertexKdTree::Range VertexKdTree::spread(const TreeNode& leaf, u32 axis) const
{
    Range range{kInfinity, -kInfinity};
    for (u32 i = leaf.head; i != kNoVertex; i = next[i])
    {
        const f64 x = coordinate(i, axis);
        if (!std::isfinite(x)) continue;
        range.low = std::min(range.low, x);
        range.high = std::max(range.high, x);
    }
    return range;
}

u32 VertexKdTree::widestAxis(const TreeNode& leaf) const
{
    u32 widest = kLeaf;
    // What lies closer than this agrees, and a set of such vertices is small: they would have been welded.
    f64 width = reach;
    for (u32 axis = 0; axis < points.getStride(); ++axis)
    {
        if (axis == kBitsFloat) continue;
        const f64 candidate = spread(leaf, axis).width();
        if (!(candidate > width)) continue;
        width = candidate;
        widest = axis;
    }
    return widest;
}

VertexKdTree::Range VertexKdTree::region(u32 axis, const zr::vector<Step>& steps) const
{
    Range range = bounds[axis];
    for (const Step& step : steps)
        if (nodes[step.node].axis == axis) (step.side == kBelow ? range.high : range.low) = nodes[step.node].split;
    return range;
}

void VertexKdTree::prepend(u32 leaf, u32 vertex)
{
    next[vertex] = nodes[leaf].head;
    nodes[leaf].head = vertex;
    ++nodes[leaf].size;
}

void VertexKdTree::splitLeaf(u32 leaf, zr::vector<Step>& steps)
{
    const u32 axis = widestAxis(nodes[leaf]);
    if (axis == kLeaf)
    {
        // Only infinities, NaNs or the bits of the fourth float tell these apart.
        nodes[leaf].limit *= 2;
        return;
    }
    // The region halves until the split parts the vertices, which takes at most as many rounds as a float has scales.
    // The empty halves stay as leaves: vertices that come later may lie there.
    const Range range = region(axis, steps);
    for (Range rest = range; nodes[leaf].axis == kLeaf;)
    {
        const u32 children = static_cast<u32>(nodes.size());
        nodes.resize(nodes.size() + 3);
        TreeNode& node = nodes[leaf];
        u32 vertex = node.head;
        const u32 size = node.size;
        node.axis = axis;
        node.split = rest.low + rest.width() / 2;
        for (const Side side : {kBelow, kFrom, kNaN})
            node.children[side] = children + static_cast<u32>(side);
        while (vertex != kNoVertex)
        {
            const u32 following = next[vertex];
            prepend(children + static_cast<u32>(sideOf(nodes[leaf], vertex)), vertex);
            vertex = following;
        }
        const f64 split = nodes[leaf].split;
        for (const Side side : {kBelow, kFrom})
            if (nodes[children + static_cast<u32>(side)].size == size)
            {
                (side == kBelow ? rest.high : rest.low) = split;
                leaf = children + static_cast<u32>(side);
            }
    }
}
} // namespace model
