#include "RootNode.h"
#include "utils/Optimizers.h"
#include "utils/tree/MoveTransforms.h"
#include "utils/tree/ShrinkTree.h"

namespace model
{
namespace
{
void shrink(utils::NotedTree& tree)
{
    utils::MoveTransforms moves(tree);
    const auto removeDeadEnds = [&] { return moves.takeEmptied() + utils::removeDeadEnds(tree); };
    for (std::size_t changes = 1; changes != 0;)
    {
        changes = utils::replaceEmptyNodes(tree);
        changes += utils::removeDummyNodes(tree);
        const std::size_t deadEnds = removeDeadEnds();
        changes += deadEnds;
        changes += moves.run();
        // What the moves emptied, and what lay above dead leaves; without such leaves it waits for the next round.
        for (std::size_t more = deadEnds; more != 0;)
            more = removeDeadEnds();
        if (utils::compactTop(tree)) moves.stop();
    }
}
} // namespace

void optimizeTransformations(RootNode* root)
{
    if (!root->rootTransform) return;
    utils::NotedTree tree(*root);
    try
    {
        shrink(tree);
    }
    catch (...)
    {
        // A light without a direction: the model is left as far as it came.
        tree.write(/* isComplete: */ false);
        throw;
    }
    tree.write(/* isComplete: */ true);
}
} // namespace model
