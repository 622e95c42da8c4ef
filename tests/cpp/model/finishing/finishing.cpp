#include "finishing/Finishing.h"
#include "Builders.h"
#include "finishing/WriteToFile.h"
#include "io/10/ClassWriter10.h"
#include "nodes/SkinNode.h"

namespace model
{
namespace
{
const Vertices kTriangle = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});

/// All switches off while it lives.
struct WithoutPasses
{
    WithoutPasses() { optimizationSwitches() = {false, false, false, false, false, false}; }
    ~WithoutPasses() { optimizationSwitches() = OptimizationSwitches(); }
};

// Back faces come before the repair of normals, both before the passes, the check of skins before the boxes.
TEST(Finishing, OrderOfTheSteps)
{
    const WithoutPasses off;
    const auto root = rootNode();
    Vertices vertices = kTriangle;
    vertices[kNormal0] = attribute(3, {0, 0, 1, 0, 0, 0, 0, 0, 1});
    const auto node = renderNode(vertices, triangles({0, 1, 2}));
    node->material->setSingleSided(false);
    node->setControlNode(0, root->rootTransform);
    root->addRenderNode(node);
    root->addRenderNode(create<RenderNode>()); // without a material it is passed over
    root->addRenderNode(create<SkinNode>());
    EXPECT_EQ(finishModel(*root), "if the model has bones, then you need to set a bounding box.");
    EXPECT_FALSE(root->boundingBox.isSet() || root->userBox.isSet());
    EXPECT_EQ(listOf(node->vertices[kNormal0].data),
              (std::vector<f32>{0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, -1, 0, 1, 0, 0, 0, -1}));

    root->boundingBox.extend(1, 2, 3);
    EXPECT_EQ(raised([&] { finishAndSave(*root, "model.zrm", 9); }), "Unsupported version 9");
    EXPECT_TRUE(root->userBox.isSet());
    EXPECT_EQ(node->vertices.getVertexCount(), 12u) << "a second save doubles again";
}

TEST(Finishing, WritingChangesNothingThatIsNotSettledBefore)
{
    const auto root = rootNode();
    const MaterialPtr material = materialFor(kTriangle);
    material->setTexture(kTiledAormsTexture, "tiled");
    material->setTexture(kAormsTexture, "kept");
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}), material);
    node->setControlNode(0, root->rootTransform);
    node->addPivot({1, 2, 3});
    node->setPurpose(1);
    root->addRenderNode(node);
    prepareForWriting(*root);
    EXPECT_EQ(node->version, kPivotVersion);
    EXPECT_TRUE(!material->textures[kTiledAormsTexture].isUsed() && material->textures[kAormsTexture].isUsed());

    const RootNode& settled = *root;
    ByteBuffer first;
    ByteBuffer second;
    ClassWriter10().write(&settled, first);
    ClassWriter10().write(&settled, second);
    EXPECT_TRUE(std::equal(first.data(), first.data() + first.size(), second.data(), second.data() + second.size()));
    for (int i = 0; i < 6; ++i)
        node->addPivot({});
    EXPECT_EQ(raised([&] { root->writeToFile("model.zrm", 10); }), "Too much transparent pivots.");
}

} // namespace
} // namespace model
