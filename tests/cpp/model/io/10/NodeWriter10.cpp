#include "io/10/NodeWriter10.h"
#include "Builders.h"
#include "nodes/BillboardNode.h"
#include "nodes/Bone.h"
#include "nodes/FakeSpotLights3Node.h"
#include "nodes/ShellSkinNode.h"
#include "nodes/TmpNumberRoot.h"

/// The records of classes and fields that no script reaches; those it does are read back from saved files.
using namespace model;

namespace
{
const auto kRoot = rootNode();
const ObjectPtr<Node> kBones[] = {create<Bone>(), create<Bone>()};

/// Compares the record of a node with fields, in a file where the two bones are numbered.
template <class... Fields>
void expectRecord(const INode& node, const Fields&... fields)
{
    const NodeIndexMap indices{{kBones[0].get(), 0}, {kBones[1].get(), 1}};
    MemBinaryFileW file;
    MemBinaryFileW expected;
    NodeWriter10 writer(file, indices, kRoot.get());
    node.accept(writer);
    (io::put(expected, fields), ...);
    EXPECT_EQ(file.getStrings().serialize(), expected.getStrings().serialize());
    const auto bytesOf = [](const ByteBuffer& bytes) { return std::string(bytes.data(), bytes.data() + bytes.size()); };
    EXPECT_TRUE(bytesOf(file.getBytes()) == bytesOf(expected.getBytes())) << getNodeTypeName(node.getType());
}

TEST(Records, OfClassesThatNoScriptMakes)
{
    expectRecord(*create<TmpNumberRoot>(), "model::TmpNumberRoot", 0u, 0u, 0u);

    const auto billboard = create<BillboardNode>();
    billboard->mode = 0x102;
    billboard->axisMode = 3;
    billboard->axis = {4, 5, 6};
    expectRecord(*billboard, "model::BillboardNode", 0u, 0u, 1u, "model::Property<unsigned int>", "__VERSION__", 1u,
                 u8{2}, u8{3}, matrixd(), 4.0, 5.0, 6.0);

    const auto bone = create<ArgAnimatedBone>();
    bone->baseScaleRotation = {8, 9, 10, 11};
    bone->setScaleChannels({{6, {{0.25, {5, 6, 7, 8}}}, {{0.75, {9, 10, 11}}}}});
    bone->invertedBaseBoneMatrix = translationMatrix({7, 8, 9});
    expectRecord(*bone, "model::ArgAnimatedBone", 0u, 0u, 0u, matrixd(), vec3d(), vec4d(), 8.0, 9.0, 10.0, 11.0, 1.0,
                 1.0, 1.0, 0u, 0u, 1u, 6u, 1u, 0.25, 5.0, 6.0, 7.0, 8.0, 1u, 0.75, 9.0, 10.0, 11.0,
                 translationMatrix({7, 8, 9}));

    EXPECT_EQ(billboard->transformMoveRule() + bone->transformMoveRule(), 2) << "no matrix passes";
    for (const ObjectPtr<TransformNode>& node : {ObjectPtr<TransformNode>(billboard), ObjectPtr<TransformNode>(bone)})
    {
        node->applyMatrix(bone->invertedBaseBoneMatrix.m);
        EXPECT_EQ(node->matrix.m[12], 0.0) << "none enters";
    }

    const auto skin = create<ShellSkinNode>();
    skin->bones = {kBones[1], kBones[0]};
    skin->argument = 16;
    skin->indices.primitiveType = kLines;
    skin->vertices = points({{1, 2, 3}});
    skin->skinBox.extend(1, 2, 3);
    expectRecord(*skin, "model::ShellSkinNode", 0u, 0u, 0u, 2u, 1u, 0u, 16u, vec3f(1, 2, 3), vec3f(1, 2, 3), 27u,
                 vec3d(), u8{}, u8{}, u8{}, 1u, 4u, vec4f(1, 2, 3, 0), u8{0}, 0u, 1u);

    const auto lights = create<FakeSpotLights3Node>();
    EXPECT_EQ(raised([&] { expectRecord(*lights); }), "Unknown properties set. Node: .");
    lights->setMaterial(MaterialPtr(new PropertiesSet()));
    lights->controls = {kBones[1], kBones[0]};
    lights->vertices = skin->vertices;
    kRoot->addRenderNode(lights);
    kRoot->collectMaterials();
    expectRecord(*lights, "model::FakeSpotLights3Node", 0u, 0u, 0u, 0u, 0u, 2u, 1u, 0u, 1u, 4u, vec4f(1, 2, 3, 0));
    lights->controls[1] = kRoot->rootTransform;
    EXPECT_EQ(raised([&] { expectRecord(*lights); }), "invalid unordered_map<K, T> key");
}
} // namespace
