#pragma once

#include "inc/ControlledNode.h"
#include "nodes/Connector.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellNode.h"

/// What hangs on the tree without being drawn: collision geometry and connectors.
namespace pyzrm
{
class SegmentsNode : public ControlledNode<Facade, model::SegmentsNode>
{
public:
    explicit SegmentsNode(const zr::string& name) : ControlledNode("model::SegmentsNode", name) {}

    /// Replaces the segments, (start, end) each.
    void set(const zr::vector<std::tuple<Float3, Float3>>& segments);

    const model::ObjectPtr<model::SegmentsNode>& getNode() const { return node; }
};

class IShellNode : public Facade
{
public:
    /// Finishes the model node; "" or what is missing.
    virtual zr::string build() = 0;
    virtual model::ObjectPtr<model::BaseNode> getNode() const = 0;
};

class ShellNode : public ControlledNode<IShellNode, model::ShellNode>
{
public:
    explicit ShellNode(const zr::string& name);

    zr::string build() override;
    model::ObjectPtr<model::BaseNode> getNode() const override { return node; }

    void setIndices(UIntList list) { indices.indices = std::move(list.values); }
    /// x, y, z for each vertex; replaces what was there.
    void setPositions(FloatList list) { vertices[model::kPosition0].data = std::move(list.values); }

private:
    model::Indices indices;
    model::VertexFormat vertexFormat;
    model::Vertices vertices;
};

class Connector : public ControlledNode<Facade, model::Connector>
{
public:
    explicit Connector(const zr::string& name) : ControlledNode("model::Connector", name) {}

    /// Both replace the property of that key.
    void setPropertyFloat(const zr::string& key, f32 value);
    void setPropertyString(const zr::string& key, const zr::string& value);

    const model::ObjectPtr<model::Connector>& getNode() const { return node; }
};
} // namespace pyzrm
