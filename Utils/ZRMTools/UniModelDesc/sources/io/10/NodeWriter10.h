#pragma once

#include "RootNode.h"
#include "base/INodeVisitor.h"
#include "io/MemBinaryFileW.h"
#include <parallel_hashmap/phmap.h>

namespace model
{
class BaseRenderNode;
class BaseShellNode;
struct FakeOmniLight;

/// The numbers of the tree's nodes, in the order of the walk.
using NodeIndexMap = phmap::flat_hash_map<const Node*, u32>;

/// The number of a node of the tree.
/// @throws std::out_of_range "invalid unordered_map<K, T> key" for a node that is not in it, null included
u32 nodeIndexOf(const NodeIndexMap& indices, const Node* node);

/// Writes the records of nodes; a derived class's record begins with that of its base.
class NodeWriter10 final : public INodeVisitor
{
public:
    /// All must outlive the writer. `model` is the root whose `materials` give the materials their numbers.
    NodeWriter10(io::IBinaryFileW& output, const NodeIndexMap& nodeIndices, const RootNode* model)
        : file(output),
          indices(nodeIndices),
          root(model)
    {
    }

    void visit(const RootNode& node) override;
    void visit(const Connector& node) override;
    void visit(const LightNode& node) override;
    void visit(const NumberNode& node) override;
    void visit(const SkinNode& node) override;
    void visit(const RenderNode& node) override;
    void visit(const AnimatedFakeSpotLightsNode& node) override;
    void visit(const FakeSpotLights3Node& node) override;
    void visit(const FakeSpotLightsNode& node) override;
    void visit(const AnimatedFakeOmniLightsNode& node) override;
    void visit(const FakeOmniLightsNode& node) override;
    void visit(const SegmentsNode& node) override;
    void visit(const ShellSkinNode& node) override;
    void visit(const ShellNode& node) override;
    void visit(const LodNode& node) override;
    void visit(const Bone& node) override;
    void visit(const BillboardNode& node) override;
    void visit(const ArgVisibilityNode& node) override;
    void visit(const ArgAnimatedBone& node) override;
    void visit(const ArgAnimationNode& node) override;
    void visit(const TransformNode& node) override;
    void visit(const Node& node) override;

private:
    /// The head of everything that hangs on the tree.
    void writeRecordHeader(const BaseNode& node);
    void writeRenderHeader(const BaseRenderNode& node);
    void writeShellHeader(const BaseShellNode& node);
    void writeProperties(const PropertyList& properties);
    void writeBox(const Box& box);
    void writeMaterial(PropertiesSet& material);
    void writeTextures(PropertiesSet& material);
    void writeTexture(const TextureSlot& slot);
    void writeUniforms(const PropertiesSet& material, bool animated);
    void writeVertexFormat(const VertexFormat& format);
    void writeBones(const zr::vector<ObjectPtr<Node>>& bones);
    void writeSkinBox(const Box& box);
    void writeLight(const FakeOmniLight& light);
    /// What makes fake lights animated.
    void writeSamples(const BaseNode& node, u32 argument, const zr::vector<f32>& samples, std::size_t numLights);
    /// A reference to a node of the tree.
    void writeNode(const ObjectPtr<Node>& node) { file.writeU32(nodeIndexOf(indices, node.get())); }
    void writeCount(std::size_t count) { file.writeU32(static_cast<u32>(count)); }

    io::IBinaryFileW& file;
    const NodeIndexMap& indices;
    const RootNode* root;
};
} // namespace model
