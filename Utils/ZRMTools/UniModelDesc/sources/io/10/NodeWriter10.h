#pragma once

#include "RootNode.h"
#include "base/INodeVisitor.h"
#include "io/MemBinaryFileW.h"
#include "io/put.h"
#include <parallel_hashmap/phmap.h>
#include <zr/array.h>

namespace model
{
class BaseMeshRenderNode;
class BaseRenderNode;
class BaseShellNode;
class MeshShellNode;
class Indices;
class Vertices;
struct FakeOmniLight;
struct FakeSpotLight;
struct LodLevel;
struct NumberControl;
struct PositionChannel;
struct RotationChannel;
struct ScaleChannel;
struct Segment;
struct SpotControl;
struct VisibilityArgument;
struct VisibilityRange;

/// The numbers of the tree's nodes, in the order of the walk.
using NodeIndexMap = phmap::flat_hash_map<const Node*, u32>;

/// The number of a node of the tree.
/// @throws std::out_of_range "invalid unordered_map<K, T> key" for a node that is not in it, null included
u32 nodeIndexOf(const NodeIndexMap& indices, const Node* node);

/// Writes the records of nodes; a derived class's record begins with that of its base. Each family of records has a
/// file of its own, NodeWriter10Tree.cpp and so on, and reads there as the table of its fields. Nothing in the model
/// changes: what a save settles before the file is written is done by then (`prepareForWriting`).
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

#define MODEL_VISIT(Class, id) void visit(const Class& node) override;
    MODEL_NODE_RECORDS(MODEL_VISIT)
#undef MODEL_VISIT

private:
    /// A `u32` of 0 that the format keeps free.
    static constexpr u32 kReserved = 0;

    /// Fields one behind the other, each as its type is written.
    template <class... Fields>
    void put(const Fields&... fields)
    {
        (putField(fields), ...);
    }
    /// Numbers, vectors, matrices and texts of the string table.
    template <class T>
    void putField(const T& value)
    {
        io::put(file, value);
    }
    /// A reference to a node of the tree: its number.
    void putField(const ObjectPtr<Node>& node) { put(nodeIndexOf(indices, node.get())); }
    /// The count, then the entries.
    template <class T>
    void putField(const zr::vector<T>& list)
    {
        putCount(list.size());
        for (const T& entry : list)
            put(entry);
    }
    template <class T, std::size_t kSize>
    void putField(const zr::array<T, kSize>& list)
    {
        putCount(kSize);
        for (const T& entry : list)
            put(entry);
    }
    template <class V>
    void putField(const Key<V>& key)
    {
        put(key.time, key.value);
    }
    void putField(const PropertyPtr& property) { property->write(file); }
    void putField(const PropertyList& properties);
    void putField(const Vertices& vertices);
    void putField(const Indices& list);
    void putField(const TextureSlot& slot);
    void putField(const PositionChannel& channel);
    void putField(const RotationChannel& channel);
    void putField(const ScaleChannel& channel);
    void putField(const VisibilityArgument& argument);
    void putField(const VisibilityRange& range);
    void putField(const LodLevel& level);
    void putField(const NumberControl& control);
    void putField(const Segment& segment);
    void putField(const FakeOmniLight& light);
    void putField(const FakeSpotLight& light);
    void putField(const SpotControl& control);

    void putCount(std::size_t count) { put(static_cast<u32>(count)); }
    /// In the width in which the boxes are held; the root's are widened.
    void putBox(const Box& box) { put(box.min, box.max); }
    /// One byte: the low one.
    void putByte(u32 value) { put(static_cast<u8>(value)); }

    /// The head of everything that hangs on the tree.
    void writeRecordHeader(const BaseNode& node);
    void writeRenderHeader(const BaseRenderNode& node);
    void writeShellHeader(const BaseShellNode& node);
    void writeShellMesh(const MeshShellNode& node);
    void writePivots(const BaseMeshRenderNode& node);
    void writeMaterial(const PropertiesSet& material);
    void writeTextures(const PropertiesSet& material);
    void writeUniforms(const PropertiesSet& material, bool animated);
    /// What makes fake lights animated.
    template <class Lights>
    void writeSamples(const Lights& node);

    io::IBinaryFileW& file;
    const NodeIndexMap& indices;
    const RootNode* root;
};
} // namespace model
