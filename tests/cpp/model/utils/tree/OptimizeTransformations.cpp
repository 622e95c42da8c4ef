#include <stdexcept>

#include "ReferenceTree.h"
#include "Scenes.h"
#include "utils/Optimizers.h"

using namespace test;

/// A model may be saved again, also after a failure.
template <class Pass>
void runTwice(Pass pass)
{
    const std::string failure = raised(pass);
    pass();
    if (!failure.empty()) throw std::runtime_error(failure);
}

TEST(OptimizeTransformations, DoesWhatTheLiteralWalksDo)
{
    const auto make = [](std::uint64_t seed) { return Scenes(About::kTree, seed).make(); };
    const auto literal = [](RootNode& root) { runTwice([&root] { reference::Tree(root).optimize(); }); };
    const auto pass = [](RootNode* root) { runTwice([root] { optimizeTransformations(root); }); };
    compare(make, literal, pass, 10);
}
