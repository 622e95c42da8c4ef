#include <cmath>
#include <limits>

#include "Builders.h"
#include "ModelArguments.h"
#include "finishing/BoundingBox.h"
#include "finishing/Finishing.h"
#include "nodes/LightNode.h"
#include "nodes/SegmentsNode.h"
#include "nodes/SkinNode.h"

namespace model
{
namespace
{
const Vertices kTriangle = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});
constexpr const char* kNeedsBox = "if the model has bones, then you need to set a bounding box.";

Box boxOf(const vec3f& min, const vec3f& max)
{
    Box box;
    box.min = min;
    box.max = max;
    return box;
}

bool sameBox(const Box& a, const Box& b)
{
    return a.min == b.min && a.max == b.max;
}

/// All switches off while it lives.
struct WithoutPasses
{
    WithoutPasses() { optimizationSwitches() = {false, false, false, false, false, false}; }
    ~WithoutPasses() { optimizationSwitches() = OptimizationSwitches(); }
};

ObjectPtr<LightNode> lightOf(f32 distance)
{
    const auto light = create<LightNode>("model::LightNode");
    const auto property = create<FloatProperty>("model::Property<float>");
    property->setValue(distance);
    light->setDistance(property);
    return light;
}

TEST(Boxes, TransformDividesByW)
{
    matrixd m;
    m.m[15] = 2;
    m.m[0] = -4;
    m.m[13] = 10;
    EXPECT_TRUE(sameBox(transformBox(boxOf({1, 2, 3}, {2, 4, 6}), m.m), boxOf({-4, 6, 1.5f}, {-2, 7, 3})));
    m.m[15] = 0; // everything goes to infinity or is NaN, and nothing breaks
    transformBox(Box(), m.m);
}

TEST(Boxes, WholeModel)
{
    const auto root = rootNode();
    EXPECT_FALSE(computeBoundingBox(*root).isSet());

    const auto outer = transformNode(10);
    const auto inner = transformNode(0, 100);
    root->rootTransform->insert(outer, nullptr);
    outer->insert(inner, nullptr);
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
    node->parents.resize(3); // the third has no vertices, and no box
    node->setControlNode(0, outer);
    node->setControlNode(1, inner);
    node->vertices[kPosition0].data[7] = 1;
    root->addRenderNode(node);
    EXPECT_TRUE(sameBox(computeBoundingBox(*root), boxOf({10, 0, 0}, {11, 100, 0})));

    const auto segments = create<SegmentsNode>("model::SegmentsNode");
    segments->segments = {{{0, 0, -5}, {0, 0, 5}}};
    segments->setControlNode(0, inner);
    root->addShellNode(segments);
    EXPECT_TRUE(sameBox(computeBoundingBox(*root), boxOf({10, 0, -5}, {11, 100, 5})));

    // An empty shell is transformed all the same.
    const auto empty = create<SegmentsNode>("model::SegmentsNode");
    empty->setControlNode(0, root->rootTransform);
    root->addShellNode(empty);
    EXPECT_TRUE(sameBox(computeBoundingBox(*root), boxOf({-Box::kLargest, -Box::kLargest, -Box::kLargest}, Box().min)));
}

TEST(Boxes, DeepChainIsMultipliedFromTheControlNodeUp)
{
    // Factors that don't commute in their roundings: products in another order differ in the last bits.
    const auto root = rootNode();
    ObjectPtr<Node> at = root->rootTransform;
    std::vector<matrixd> chain;
    for (int i = 0; i < 30; ++i)
    {
        const auto node = transformNode(0.1 * i, -0.3, 0.7);
        node->matrix.m[0] = node->matrix.m[5] = std::cos(0.1 * i) * 1.1;
        node->matrix.m[1] = std::sin(0.1 * i);
        node->matrix.m[4] = -node->matrix.m[1];
        at->insert(node, nullptr);
        chain.push_back(node->matrix);
        at = node;
    }
    matrixd expected;
    for (std::size_t i = chain.size(); i-- > 0;)
        expected = multiply(expected, chain[i]);

    for (int copies = 0; copies < 3; ++copies)
    {
        const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
        node->setControlNode(0, at);
        root->addRenderNode(node);
        EXPECT_TRUE(sameBox(computeBoundingBox(*root), transformBox(kTriangle.computeBox(0), expected.m)));
    }
}

TEST(Boxes, MeshesOnEveryNodeOfADeepChain)
{
    // Whole numbers round in no order, so the box is the same by whichever road its matrices come.
    const auto root = rootNode();
    ObjectPtr<Node> at = root->rootTransform;
    constexpr int kDepth = 4000;
    for (int i = 0; i < kDepth; ++i)
    {
        const ObjectPtr<Node> node = transformNode(i % 7, 1);
        at->insert(node, nullptr);
        at = node;
        const auto mesh = renderNode(kTriangle, triangles({0, 1, 2}));
        mesh->setControlNode(0, at);
        root->addRenderNode(mesh);
    }
    const f32 x = kDepth / 7 * 21.0f + (0 + 1 + 2);
    EXPECT_TRUE(sameBox(computeBoundingBox(*root), boxOf({0, 1, 0}, {x + 1, kDepth + 1, 0})));
}

TEST(Boxes, LightsReach)
{
    const auto root = rootNode();
    root->boundingBox = boxOf({-1, -1, -1}, {1, 1, 1});
    for (const f32 distance : {-50.0f, 3.0f, std::nanf(""), 2.0f})
        root->lights.push_back(lightOf(distance));
    EXPECT_TRUE(sameBox(computeLightBox(*root), boxOf({-4, -4, -4}, {4, 4, 4})));

    const auto animated = create<AnimatedFloatProperty>("model::AnimatedProperty<float>");
    animated->setKeys({{0, 1.0f}, {1, 9.0f}, {2, 0.0f}});
    root->lights.push_back(lightOf(0));
    cast<LightNode>(root->lights.back())->setDistance(animated);
    EXPECT_TRUE(sameBox(computeLightBox(*root), boxOf({-10, -10, -10}, {10, 10, 10})));

    root->lights = {lightOf(-1)};
    EXPECT_TRUE(sameBox(computeLightBox(*root), root->boundingBox));
}

TEST(Finishing, BoxesOfAnEmptyModel)
{
    const auto root = rootNode();
    root->userBox = boxOf({1, 0, 0}, {0, 0, 0}); // a maximum below its minimum counts as not given
    root->lightBox = boxOf({0, 0, 0}, {1, 1, 1});
    EXPECT_EQ(finishModel(*root), "");
    EXPECT_TRUE(sameBox(root->boundingBox, Box()));
    EXPECT_TRUE(sameBox(root->userBox, Box()));
    EXPECT_TRUE(sameBox(root->lightBox, Box())); // no lights, no light box

    // r is nothing beside the largest float.
    root->lights.push_back(lightOf(1000));
    EXPECT_EQ(finishModel(*root), "");
    EXPECT_TRUE(sameBox(root->lightBox, Box()));
}

TEST(Finishing, GivenBoxesStay)
{
    const auto root = rootNode();
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
    node->setControlNode(0, root->rootTransform);
    root->addRenderNode(node);
    root->lights.push_back(lightOf(2));
    root->userBox = boxOf({5, 5, 5}, {5, 5, 5});
    EXPECT_EQ(finishModel(*root), "");
    EXPECT_TRUE(sameBox(root->boundingBox, boxOf({0, 0, 0}, {1, 1, 0})));
    EXPECT_TRUE(sameBox(root->userBox, boxOf({5, 5, 5}, {5, 5, 5})));
    EXPECT_TRUE(sameBox(root->lightBox, boxOf({-2, -2, -2}, {3, 3, 2})));

    // What was computed counts as given the next time.
    root->lights = {lightOf(7)};
    EXPECT_EQ(finishModel(*root), "");
    EXPECT_TRUE(sameBox(root->lightBox, boxOf({-2, -2, -2}, {3, 3, 2})));
}

TEST(Finishing, BackFacesAndNormalsComeWithoutAnySwitch)
{
    const WithoutPasses off;
    const auto root = rootNode();
    Vertices vertices = kTriangle;
    vertices[kNormal0] = attribute(3, {0, 0, 1, 0, 0, 0, 0, 0, 1});
    const auto node = renderNode(vertices, triangles({0, 1, 2}));
    node->material->setSingleSided(false);
    node->setControlNode(0, root->rootTransform);
    root->addRenderNode(node);
    root->addRenderNode(create<RenderNode>("model::RenderNode")); // without a material it is passed over
    EXPECT_EQ(finishModel(*root), "");
    // The normal of no length is repaired behind the doubling, in the back as well.
    EXPECT_EQ(listOf(node->vertices[kNormal0].data),
              (std::vector<f32>{0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, -1, 0, 1, 0, 0, 0, -1}));
    EXPECT_EQ(finishModel(*root), "");
    EXPECT_EQ(node->vertices.getVertexCount(), 12u);
    EXPECT_EQ(root->renderNodes.size(), 2u);
}

TEST(Finishing, SkinsNeedABoundingBox)
{
    const WithoutPasses off;
    const auto root = rootNode();
    root->addRenderNode(renderNode(kTriangle, triangles({0, 1, 2})));
    root->addRenderNode(create<SkinNode>("model::SkinNode"));
    EXPECT_EQ(finishModel(*root), kNeedsBox);
    EXPECT_EQ(finishAndSave(*root, "never written", 10), kNeedsBox);
    EXPECT_FALSE(root->boundingBox.isSet());
    EXPECT_TRUE(sameBox(root->userBox, Box()));
    root->boundingBox = boxOf({0, 0, 0}, {0, 0, 0});
    EXPECT_EQ(finishModel(*root), "");
}

TEST(Finishing, FailureOfTheLastStepLeavesTheBoxesFilled)
{
    const WithoutPasses off;
    const auto root = rootNode();
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
    node->setControlNode(0, root->rootTransform);
    root->addRenderNode(node);
    EXPECT_EQ(raised([&] { finishAndSave(*root, "model.zrm", 9); }), "Unsupported version 9");
    EXPECT_EQ(raised([&] { finishAndSave(*root, "/model.zrm", 10); }), "Can't write to file /model.zrm");
    EXPECT_TRUE(root->userBox.isSet());
}

TEST(Handles, HighestArgumentPlusOne)
{
    const auto root = rootNode();
    EXPECT_EQ(root->calcNumHandles(), 0u);
    EXPECT_TRUE(getArgumentsList(nullptr).empty());

    const auto property = [](u32 argument)
    {
        const auto result = create<ArgumentProperty>("model::ArgumentProperty");
        result->setArgument(argument);
        return result;
    };
    root->rootTransform->properties.push_back(property(kNoArgument));
    EXPECT_EQ(root->calcNumHandles(), 0u);

    const auto child = create<Node>("model::Node");
    root->rootTransform->insert(child, nullptr);
    child->properties.push_back(property(41));
    child->properties.push_back(property(3));
    EXPECT_EQ(root->calcNumHandles(), 42u);
    const zr::unordered_set<u32> arguments = getArgumentsList(root->rootTransform.get());
    EXPECT_EQ(arguments.size(), 2u);
    EXPECT_TRUE(arguments.contains(41u));

    // Each list of the root counts.
    const auto light = lightOf(0);
    root->connectors.push_back(light);
    root->lights.push_back(lightOf(0));
    root->addShellNode(create<SegmentsNode>("model::SegmentsNode"));
    root->addRenderNode(create<RenderNode>("model::RenderNode"));
    u32 next = 100;
    for (const RootNode::List* list : {&root->connectors, &root->lights, &root->shellNodes, &root->renderNodes})
    {
        list->back()->properties.push_back(property(next));
        EXPECT_EQ(root->calcNumHandles(), next + 1);
        ++next;
    }
    child->properties.push_back(property(0xFFFFFFFE));
    EXPECT_EQ(root->calcNumHandles(), 0xFFFFFFFF);
}
} // namespace
} // namespace model
