#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "base/ObjectRegistry.h"
#include "nodes/ArgVisibilityNode.h"
#include "nodes/BillboardNode.h"
#include "nodes/Bone.h"
#include "nodes/LodNode.h"
#include "nodes/TmpNumberRoot.h"

using namespace model;

namespace
{
constexpr f64 kNaN = std::numeric_limits<f64>::quiet_NaN();

/// Every argument has one value.
class Constant final : public IModelArguments
{
public:
    explicit Constant(f32 everywhere) : value(everywhere) {}
    f32 get(u32) const override { return value; }

private:
    f32 value;
};

template <class T>
ObjectPtr<T> make()
{
    return ObjectPtr<T>(new T());
}

VectorKey at(f64 time, f64 x, f64 y, f64 z)
{
    return {time, {x, y, z}};
}

vec4d halfTurnAboutZ()
{
    return {0, 0, 1, 0};
}

vec3d transformed(const vec3d& v, const matrixd& m)
{
    return {v.x * m.m[0] + v.y * m.m[4] + v.z * m.m[8] + m.m[12], v.x * m.m[1] + v.y * m.m[5] + v.z * m.m[9] + m.m[13],
            v.x * m.m[2] + v.y * m.m[6] + v.z * m.m[10] + m.m[14]};
}

void expectVector(const vec3d& actual, f64 x, f64 y, f64 z)
{
    EXPECT_NEAR(actual.x, x, 1e-12);
    EXPECT_NEAR(actual.y, y, 1e-12);
    EXPECT_NEAR(actual.z, z, 1e-12);
}

void expectIdentity(const matrixd& m)
{
    for (int i = 0; i < 16; ++i)
        EXPECT_EQ(m.m[i], i % 5 == 0 ? 1.0 : 0.0) << i;
}
} // namespace

TEST(Matrix, RotationOfQuaternions)
{
    // A row vector turns counterclockwise about the axis.
    const f64 half = std::sqrt(0.5);
    expectVector(transformed({1, 0, 0}, rotationMatrix({0, 0, half, half})), 0, 1, 0);
    expectVector(transformed({0, 1, 0}, rotationMatrix({half, 0, 0, half})), 0, 0, 1);
    expectVector(transformed({0, 0, 1}, rotationMatrix({0, half, 0, half})), 1, 0, 0);
    // The length plays no part, until there is none.
    expectVector(transformed({1, 0, 0}, rotationMatrix({0, 0, 3, 3})), 0, 1, 0);
    expectVector(transformed({1, 2, 3}, rotationMatrix({0, 0, 0, 0})), 0, 0, 0);

    // First about x, then about z.
    const vec4d both = multiply(vec4d{half, 0, 0, half}, vec4d{0, 0, half, half});
    expectVector(transformed({0, 0, 1}, rotationMatrix(both)), 1, 0, 0);
    const vec4d none = multiply(both, inverse(both));
    EXPECT_NEAR(none.w, 1.0, 1e-15);
}

TEST(ArgAnimationNode, LocalMatrixAtRest)
{
    const auto node = make<ArgAnimationNode>();
    expectIdentity(node->localMatrix(DummyArguments()));

    node->setBasePosition({1, 0, 0});
    node->setPositionChannels({{3, {at(0, 5, 6, 7)}}});
    expectVector(transformed({0, 0, 0}, node->localMatrix(DummyArguments())), 6, 6, 7);
    node->setPositionChannels({{3, {at(1, 5, 6, 7), at(2, 9, 9, 9)}}, {3, {at(-1, 0, 0, 0), at(1, 0, 0, 2)}}});
    expectVector(transformed({0, 0, 0}, node->localMatrix(DummyArguments())), 6, 6, 8);
    expectVector(transformed({0, 0, 0}, node->localMatrix(Constant(1.5f))), 8, 7.5, 10);
}

TEST(ArgAnimationNode, ScaleThenRotationThenTranslationThenBase)
{
    const auto node = make<ArgAnimationNode>();
    node->setBaseScale({2, 1, 1});
    node->setBaseRotation(halfTurnAboutZ());
    node->setBasePosition({10, 0, 0});
    node->matrix = scaleMatrix({1, 1, 3});
    expectVector(transformed({1, 1, 1}, node->localMatrix(DummyArguments())), 8, -1, 3);

    // The axes of a scale turn with its rotation: a quarter turn about z puts the x factor on y.
    const f64 half = std::sqrt(0.5);
    node->setBaseScale({1, 1, 1});
    node->setScaleChannels({{1, {{0.0, {0, 0, half, half}}}, {at(0, 5, 1, 1)}}});
    expectVector(transformed({1, 1, 1}, node->localMatrix(DummyArguments())), 9, -5, 3);
}

TEST(ArgAnimationNode, ChannelsWithoutKeysRepeatTheOneBefore)
{
    const auto node = make<ArgAnimationNode>();
    node->setPositionChannels({{1, {}}, {2, {at(0, 1, 2, 3)}}, {3, {}}});
    expectVector(transformed({0, 0, 0}, node->localMatrix(DummyArguments())), 2, 4, 6);
    node->setScaleChannels({{1, {}, {}}});
    expectVector(transformed({1, 1, 1}, node->localMatrix(DummyArguments())), 2, 4, 6);
}

TEST(ArgAnimationNode, KindGoesByTheChannelsThatAreThere)
{
    struct Case
    {
        bool moves, turns, scales;
        u32 kind;
    };
    constexpr Case cases[] = {
        {true, true, true, 1},  {true, true, false, 1},  {true, false, true, 1},  {true, false, false, 4},
        {false, true, true, 1}, {false, true, false, 2}, {false, false, true, 3}, {false, false, false, 3},
    };
    for (const Case& entry : cases)
    {
        for (const auto& node : {make<ArgAnimationNode>(), ObjectPtr<ArgAnimationNode>(new ArgAnimatedBone())})
        {
            node->positionChannels.resize(entry.moves);
            node->rotationChannels.resize(entry.turns);
            node->scaleChannels.resize(entry.scales);
            EXPECT_EQ(node->getKind(), node->getType() == kArgAnimatedBone ? kArgAnimatedBone : entry.kind);
            EXPECT_TRUE(node->hasNoKeys());
        }
    }
    const auto node = make<ArgAnimationNode>();
    node->setScaleChannels({{1, {{0.0, {}}}, {}}});
    EXPECT_FALSE(node->hasNoKeys());
}

TEST(ArgAnimationNode, ReportsArguments)
{
    const auto node = make<ArgAnimationNode>();
    node->setScaleChannels({{9, {}, {}}});
    node->setPositionChannels({{5, {}}, {kNoArgument, {}}, {5, {}}});
    node->setRotationChannels({{1, {}}});
    const auto property = create<ArgumentProperty>("model::ArgumentProperty");
    property->setArgument(8);
    setProperty(node->properties, property);
    zr::vector<u32> seen;
    node->forEachArgument([&seen](u32 argument) { seen.push_back(argument); });
    EXPECT_EQ(seen, (zr::vector<u32>{8, 5, 5, 1, 9}));
}

TEST(ArgVisibilityNode, SetArguments)
{
    using Ranges = zr::vector<std::pair<f64, f64>>;
    struct Case
    {
        Ranges given;
        Ranges held;
    };
    const Case cases[] = {
        {{{0.5, 0.9}, {0.1, 0.6}}, {{0.1, 0.9}}},
        {{{0.1, 0.5}, {0.5, 0.9}}, {{0.1, 0.5}, {0.5, 0.9}}},
        {{{0.9, 0.5}, {0.2, 0.1}}, {{0.1, 0.2}, {0.5, 0.9}}},
        {{{0, 10}, {1, 2}, {3, 4}, {9, 12}}, {{0, 12}}},
        {{{0, 2}, {1, 3}, {2.5, 4}, {4, 5}}, {{0, 4}, {4, 5}}},
        {{{1, 1}, {1, 1}}, {{1, 1}, {1, 1}}},
    };
    for (const Case& entry : cases)
    {
        const auto node = make<ArgVisibilityNode>();
        node->setArguments({{3, entry.given}});
        ASSERT_EQ(node->arguments.size(), 1u);
        EXPECT_EQ(node->arguments[0].ranges, entry.held);
    }

    const auto node = make<ArgVisibilityNode>();
    node->setArguments({{7, {{0, 1}}}, {5, {}}, {3, {{2, 3}}}, {7, {{4, 5}}}});
    ASSERT_EQ(node->arguments.size(), 3u);
    EXPECT_EQ(node->arguments[0].argument, 3u);
    EXPECT_EQ(node->arguments[1].ranges, (Ranges{{0, 1}}));
    EXPECT_EQ(node->arguments[2].ranges, (Ranges{{4, 5}}));

    node->setArguments({{1, {{kNaN, 1}, {0, kNaN}, {-1, 2}, {kNaN, kNaN}}}});
    EXPECT_EQ(node->arguments[0].ranges.size(), 3u);
    EXPECT_EQ(node->arguments[0].ranges[0], (std::pair<f64, f64>(-1, 2)));
}

TEST(ArgVisibilityNode, Visibility)
{
    struct Case
    {
        f32 value;
        bool isVisible;
    };
    const auto parent = make<ArgVisibilityNode>();
    const auto between = make<Node>();
    const auto child = make<ArgVisibilityNode>();
    parent->insert(between, nullptr);
    between->insert(child, nullptr);
    parent->setArguments({{1, {{0.0, 0.5}, {0.75, 1.0}}}});
    child->setArguments({{1, {{-1.0, 0.9}}}, {2, {{-1.0, 0.9}}}});
    for (const Case& entry : {Case{0.0f, true}, {0.5f, false}, {0.75f, true}, {0.95f, false}, {-0.5f, false}})
    {
        bool visible = true;
        child->evalVisibility(Constant(entry.value), &visible);
        EXPECT_EQ(visible, entry.isVisible) << entry.value;
    }
    bool visible = true;
    parent->arguments[0].ranges.clear();
    EXPECT_TRUE(parent->hasNoRanges());
    parent->evalVisibility(DummyArguments(), &visible);
    EXPECT_FALSE(visible);
    visible = true;
    make<ArgVisibilityNode>()->evalVisibility(DummyArguments(), &visible);
    EXPECT_TRUE(visible);
    Node::unlinkAll(parent);
}

TEST(OptimizerTrait, AnswersByClass)
{
    struct Case
    {
        ObjectPtr<Node> node;
        int rule;
        bool multiplies;
        bool isBarrier;
    };
    const Case cases[] = {
        {make<Node>(), 2, false, false},
        {make<ArgVisibilityNode>(), 2, false, false},
        {make<TransformNode>(), 0, true, false},
        {make<ArgAnimationNode>(), 0, true, false},
        {make<BillboardNode>(), 1, false, false},
        {make<Bone>(), 1, false, false},
        {make<ArgAnimatedBone>(), 1, false, false},
        {make<TmpNumberRoot>(), 1, false, false},
        {make<LodNode>(), 1, false, true},
    };
    const matrixd m = translationMatrix({1, 2, 3});
    for (const Case& entry : cases)
    {
        const Node& node = *entry.node;
        SCOPED_TRACE(getNodeTypeName(node.getType()));
        EXPECT_EQ(node.transformMoveRule(), entry.rule);
        EXPECT_EQ(node.isOptimizationBarrier(), entry.isBarrier);
        EXPECT_EQ(node.isVisibilityNode(), node.getType() == kArgVisibilityNode);
        entry.node->applyMatrix(m.m);
        matrixd accumulated;
        node.accumulateMatrix(DummyArguments(), accumulated.m);
        EXPECT_EQ(accumulated.m[13], entry.multiplies ? 2.0 : 0.0);
    }
}

TEST(Node, TakeMatrix)
{
    struct Case
    {
        ObjectPtr<Node> node;
        bool hands, handsWhenCleared;
    };
    const Case cases[] = {
        {make<Node>(), true, true},
        {make<LodNode>(), true, true},
        {make<TransformNode>(), false, true},
        {make<BillboardNode>(), false, true},
        {make<Bone>(), false, false},
        {make<ArgAnimationNode>(), false, false},
        {make<ArgAnimatedBone>(), false, false},
    };
    const matrixd m = translationMatrix({1, 2, 3});
    for (const Case& entry : cases)
    {
        SCOPED_TRACE(getNodeTypeName(entry.node->getType()));
        auto* transform = dynamic_cast<TransformNode*>(entry.node.get());
        for (const bool clear : {false, true})
        {
            const bool hands = clear ? entry.handsWhenCleared : entry.hands;
            if (transform) transform->matrix = scaleMatrix({2, 2, 2});
            matrixd out;
            entry.node->takeMatrix(out.m, m.m, clear);
            EXPECT_EQ(out.m[12], hands ? 1.0 : 0.0);
            EXPECT_EQ(out.m[0], hands && transform ? 2.0 : 1.0);
            if (!transform) continue;
            EXPECT_EQ(transform->matrix.m[12], hands ? 0.0 : 1.0);
            EXPECT_EQ(transform->matrix.m[0], hands ? 1.0 : 2.0);
        }
    }
}

TEST(Node, VersionIsAProperty)
{
    const auto node = make<Node>();
    EXPECT_EQ(node->getVersion(), 0u);
    node->setVersion(0);
    EXPECT_TRUE(node->properties.empty());
    node->setVersion(2);
    const PropertyPtr before = node->properties[0];
    node->setVersion(2);
    EXPECT_EQ(node->properties[0], before);
    node->setVersion(3);
    EXPECT_NE(node->properties[0], before);
    EXPECT_EQ(node->getVersion(), 3u);
    EXPECT_EQ(node->properties.size(), 1u);
    node->setName(nullptr);
    EXPECT_EQ(node->name, "");
}

TEST(Bone, MatricesOfBothKinds)
{
    const auto bone = make<Bone>();
    const auto animated = make<ArgAnimatedBone>();
    for (IBone* each : {static_cast<IBone*>(bone.get()), static_cast<IBone*>(animated.get())})
    {
        each->setInvertedBaseBoneMatrix(translationMatrix({0, 0, 9}).m);
        EXPECT_EQ(each->getInvertedBaseBoneMatrix()[14], 9.0);
    }
    bone->matrix = animated->matrix = translationMatrix({4, 0, 0});
    EXPECT_EQ(bone->getBoneMatrix()[12], 4.0);
    EXPECT_EQ(animated->getBoneMatrix()[12], 0.0);
    EXPECT_EQ(static_cast<IBone&>(*bone).getNode(), static_cast<Node*>(bone.get()));
}
