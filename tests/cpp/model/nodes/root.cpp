#include <algorithm>

#include "Builders.h"
#include "Random.h"

namespace model
{
namespace
{
// Against a plain search, with nodes that are listed twice, also in another root, and lists that are changed directly.
TEST(RootNode, RemoveRenderNodeTakesTheFirstEntryAndMovesTheLast)
{
    test::Random random(11);
    zr::vector<ObjectPtr<RenderNode>> nodes(12);
    for (auto& node : nodes)
        node = create<RenderNode>();
    const ObjectPtr<RootNode> roots[2] = {rootNode(), rootNode()};
    RootNode::List plains[2];
    for (int round = 0; round < 20000; ++round)
    {
        const u32 which = random.below(2);
        RootNode& root = *roots[which];
        RootNode::List& plain = plains[which];
        const auto& node = nodes[random.below(nodes.size())];
        if (random.below(5) < 2)
        {
            root.addRenderNode(node);
            plain.push_back(node);
        }
        else if (random.below(20) == 0 && !plain.empty())
        {
            root.renderNodes.erase(root.renderNodes.begin());
            plain.erase(plain.begin());
        }
        else
        {
            root.removeRenderNode(node.get());
            const auto found = std::find(plain.begin(), plain.end(), ObjectPtr<BaseNode>(node));
            if (found != plain.end())
            {
                *found = plain.back();
                plain.pop_back();
            }
        }
        ASSERT_EQ(root.renderNodes, plain) << "round " << round;
    }
    roots[0]->removeRenderNode(nullptr);
}
} // namespace
} // namespace model
