#include "finishing/Finishing.h"
#include "Builders.h"
#include "finishing/WriteToFile.h"
#include "nodes/SkinNode.h"

using namespace model;

namespace
{
const Vertices kTriangle = points({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}});

// Back faces come before the repair of normals, both before the passes, the check of skins before the boxes.
TEST(Finishing, OrderOfTheSteps)
{
    optimizationSwitches() = {false, false, false, false, false, false};
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
    EXPECT_EQ(node->vertices[kNormal0].data, (zr::vector<f32>{0, 0, 1, 0, 1, 0, 0, 0, 1, 0, 0, -1, 0, 1, 0, 0, 0, -1}));

    root->boundingBox.extend(1, 2, 3);
    EXPECT_EQ(raised([&] { finishAndSave(*root, "model.zrm", 9); }), "Unsupported version 9");
    EXPECT_TRUE(root->userBox.isSet());
    EXPECT_EQ(node->vertices.getVertexCount(), 12u) << "a second save doubles again";
    optimizationSwitches() = OptimizationSwitches();
}

TEST(Finishing, OneTextureOfTwoKindsIsWritten)
{
    const auto root = rootNode();
    const auto node = renderNode(kTriangle, triangles({0, 1, 2}));
    node->material->setTexture(kTiledAormsTexture, "tiled");
    node->material->setTexture(kAormsTexture, "kept");
    root->addRenderNode(node);
    prepareForWriting(*root);
    const auto& textures = node->material->textures;
    EXPECT_TRUE(!textures.find(kTiledAormsTexture) && textures.find(kAormsTexture));
}
} // namespace
