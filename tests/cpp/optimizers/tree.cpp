#include <cstdlib>

#include <gtest/gtest.h>

#include "ReferenceTree.h"
#include "TreeScenes.h"
#include "utils/Optimizers.h"

namespace test
{
namespace
{
/// A tree as text: N plain, T transform with its offset in x, V visibility, A animation, B billboard, L level of
/// detail, small letters for nodes without ranges or keys. Behind a node what hangs on it: * a mesh with its first x, !
/// a light. Children stand in parentheses.
class TreeText
{
public:
    explicit TreeText(const char* text) : at(text) { root->setRootTransform(parse()); }

    static std::string write(const RootNode& root)
    {
        std::string text;
        write(root, *root.rootTransform, text);
        return text;
    }

    ObjectPtr<RootNode> root = create<RootNode>("model::RootNode");

private:
    double number()
    {
        char* end = nullptr;
        const double value = std::strtod(at, &end);
        at = end;
        return value;
    }

    ObjectPtr<Node> makeNode(char kind)
    {
        switch (kind)
        {
        case 'T':
        {
            const auto node = create<TransformNode>("model::TransformNode");
            node->matrix.m[12] = number();
            return node;
        }
        case 'V':
        case 'v':
        {
            const auto node = create<ArgVisibilityNode>("model::ArgVisibilityNode");
            if (kind == 'V') node->arguments = {{1, {{0.0, 1.0}}}};
            return node;
        }
        case 'A':
        case 'a':
        {
            const auto node = create<ArgAnimationNode>("model::ArgAnimationNode");
            node->matrix.m[12] = number();
            if (kind == 'A') node->positionChannels = {{1, {{0.0, {}}}}};
            return node;
        }
        case 'B':
            return create<Node>("model::BillboardNode");
        case 'L':
            return create<Node>("model::LodNode");
        default:
            return create<Node>("model::Node");
        }
    }

    ObjectPtr<Node> parse()
    {
        const ObjectPtr<Node> node = makeNode(*at++);
        for (; *at == '*' || *at == '!';)
        {
            if (*at++ == '*')
            {
                const auto mesh = create<RenderNode>("model::RenderNode");
                mesh->vertices[0].stride = 4;
                mesh->vertices[0].data = {static_cast<f32>(number()), 0, 0, 0};
                mesh->setControlNode(0, node);
                root->addRenderNode(mesh);
                continue;
            }
            const auto light = create<LightNode>("model::LightNode");
            light->control = node;
            root->lights.push_back(light);
        }
        if (*at != '(') return node;
        for (++at; *at != ')';)
            node->insert(parse(), nullptr);
        ++at;
        return node;
    }

    static std::string shortest(double value)
    {
        std::ostringstream out;
        out << value;
        return out.str();
    }

    static void write(const RootNode& root, const Node& node, std::string& text)
    {
        const std::map<u32, char> kinds = {{kNode, 'N'},    {kTransformNode, 'T'},    {kArgVisibilityNode, 'V'},
                                           {kLodNode, 'L'}, {kArgAnimationNode, 'A'}, {kBillboardNode, 'B'}};
        text += kinds.at(node.getType());
        if (text.back() == 'T' || text.back() == 'A')
            text += shortest(static_cast<const TransformNode&>(node).matrix.m[12]);
        for (const auto& [user, index] : root.getUsers(&node))
        {
            const auto* mesh = dynamic_cast<const RenderNode*>(user.get());
            text += mesh ? '*' + shortest(static_cast<double>(mesh->vertices.getAttribute(0).data[0])) : "!";
        }
        if (!node.firstChild()) return;
        text += '(';
        for (const Node* child = node.firstChild(); child; child = child->nextSibling())
            write(root, *child, text);
        text += ')';
    }

    const char* at;
};

struct TreeCase
{
    const char* idea;
    const char* before;
    const char* after;
};

const TreeCase kTreeCases[] = {
    {"an empty model", "N", "N"},
    {"an unused transform", "N(T2)", "N"},
    {"a chain of dead nodes", "N*0(T2(A1(B(V))))", "N*0"},
    {"a mesh takes the matrix, and a plain top goes", "N(T2*1)", "N*3"},
    {"two meshes on one transform", "N*0(T2*1*5)", "N*0*3*7"},
    {"matrices add up down a chain", "N*0(T1*0(T2*0(T3*0)))", "N*0*1*3*6"},
    {"no ranges, no keys", "N*0(v*1(a0*2(a3*3)))", "N*0*1*2*6"},
    {"an animation takes the matrix into its base", "N*0(T2(A1*0))", "N*0(A3*0)"},
    {"below an animation nothing comes from it", "N*0(A1(T2*0))", "N*0(A1*2)"},
    {"a matrix passes visibility nodes", "N*0(T2(V(V*0(V*1))))", "N*0(V(V*2(V*3)))"},
    {"a matrix can't pass a billboard", "N*0(T2(B*0))", "N*0(T2(B*0))"},
    {"the children of a billboard move within", "N*0(B(T2*0))", "N*0(B*2)"},
    {"a light holds its transform and the children", "N*0(T2!*1(V*0))", "N*0*3(T2!(V*0))"},
    {"what moves up to a held transform moves on", "N*0(T2!(T3*1)B)", "N*0*6(T2!)"},
    {"levels of detail keep their count", "N*0(L(NN*1))", "N*0(L(NN*1))"},
    {"a transform that is a level ends all moves", "N*0(L(T2*0)T3*0)", "N*0(L(T2*0)T3*0)"},
    {"what stands in front of it has moved, and is all", "N*0(T3*0L(T2*0))", "N*0(N*3(T3)L(T2*0))"},
    {"a transform as top ends all moves", "T2*0(T3*0)", "T2*0(T3*0)"},
    {"an identity as top", "T0*0(T3*0)", "N*0*3"},
    {"a held transform becomes the top and ends all moves", "N(T2!(V(T3(V(V*0)))))", "T2!(V(V(T3(V*0))))"},
    {"it stops what is on its way", "N(T1(T2!(V(T3(V(V(V(V*0))))))))", "T3!(V(V(V(T3(V(V*0))))))"},
    {"a new top that turned into an identity", "N(T-2(a2!)B)", "N!"},
    {"a used top stays", "N*0(A1*0)", "N*0(A1*0)"},
    {"differences below the tolerance are dropped", "N*0(T0.000001*0)", "N*0*0"},
};

TEST(OptimizeTransformations, ShrinksTrees)
{
    for (const TreeCase& c : kTreeCases)
    {
        const ObjectPtr<RootNode> root = TreeText(c.before).root;
        optimizeTransformations(root.get());
        EXPECT_EQ(TreeText::write(*root), c.after) << c.idea;
        const ObjectPtr<RootNode> expected = TreeText(c.before).root;
        reference::Tree(*expected).optimize();
        EXPECT_EQ(TreeText::write(*expected), c.after) << c.idea;
    }
}

TEST(OptimizeTransformations, NamesWhatLeftTheTree)
{
    const auto root = create<RootNode>("model::RootNode");
    const auto top = create<Node>("model::Node");
    const auto kept = create<ArgAnimationNode>("model::ArgAnimationNode");
    const auto dropped = create<TransformNode>("model::TransformNode");
    const auto light = create<LightNode>("model::LightNode");
    kept->positionChannels = {{1, {{0.0, {}}}}};
    kept->name = dropped->name = top->name = "name";
    top->insert(dropped, nullptr);
    top->insert(kept, nullptr);
    light->control = kept;
    root->lights.push_back(light);
    root->setRootTransform(top);
    optimizeTransformations(root.get());
    EXPECT_EQ(top->name, "_DELETED_");
    EXPECT_EQ(dropped->name, "_DELETED_");
    EXPECT_EQ(kept->name, "name");
    EXPECT_EQ(root->rootTransform, kept);
}

/// Each of these takes quadratic time when every step walks the tree: minutes and more.
TEST(OptimizeTransformations, IsDoneWithDeepChains)
{
    constexpr int kDepth = 96000;
    const char* patterns[] = {"T", "V", "TV", "TVV", "TA", "N", "Tv"};
    for (const std::string pattern : patterns)
    {
        const auto root = create<RootNode>("model::RootNode");
        const auto top = create<Node>("model::Node");
        root->setRootTransform(top);
        // From below: the order of creation, and of addresses, must not matter.
        ObjectPtr<Node> above;
        ObjectPtr<Node> last;
        for (int i = kDepth; i-- > 0;)
        {
            const char kind[] = {pattern[static_cast<std::size_t>(i) % pattern.size()], '1', 0};
            const ObjectPtr<Node> node = TreeText(kind).root->rootTransform;
            if (!last) last = node;
            node->insert(above, nullptr);
            above = node;
        }
        top->insert(above, nullptr);
        const auto mesh = create<RenderNode>("model::RenderNode");
        mesh->vertices[0].stride = 3;
        mesh->vertices[0].data = {0, 0, 0};
        mesh->setControlNode(0, last);
        root->addRenderNode(mesh);
        optimizeTransformations(root.get());
        f32 offset = 0;
        for (const Node* node = mesh->getControlNode(0).get(); node; node = node->parent())
            if (const auto* animation = dynamic_cast<const ArgAnimationNode*>(node))
                offset += static_cast<f32>(animation->matrix.m[12]);
        const auto count = [&](char kind)
        {
            return static_cast<f32>(kDepth / static_cast<int>(pattern.size()) *
                                    static_cast<int>(std::count(pattern.begin(), pattern.end(), kind)));
        };
        EXPECT_EQ(mesh->vertices[0].data[0] + offset, count('T') + count('A')) << pattern;
    }
}

TEST(OptimizeTransformations, DoesWhatTheLiteralWalksDo)
{
    constexpr std::uint64_t kFirstSeed = 1;
    for (std::uint64_t seed = kFirstSeed; seed < kFirstSeed + 20000; ++seed)
    {
        const TreeScene expected = TreeScenes(seed).make();
        const TreeScene actual = TreeScenes(seed).make();
        const std::string before = actual.describe();
        const std::string expectedFailure = failureOf([&] { reference::Tree(*expected.root).optimize(); });
        const std::string failure = failureOf([&] { optimizeTransformations(actual.root.get()); });
        ASSERT_EQ(expectedFailure, failure) << "seed " << seed << '\n' << before;
        ASSERT_EQ(expected.describe(), actual.describe()) << "seed " << seed << '\n' << before;
        ASSERT_EQ(fileOf(*expected.root), fileOf(*actual.root)) << "seed " << seed;
    }
}
} // namespace
} // namespace test
