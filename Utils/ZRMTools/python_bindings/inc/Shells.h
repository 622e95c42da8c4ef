#pragma once

#include "inc/NodeFacades.h"
#include "nodes/Connector.h"
#include "nodes/SegmentsNode.h"
#include "nodes/ShellNode.h"

/// What hangs on the tree without being drawn: collision geometry and connectors.
namespace pyzrm
{
class SegmentsNode : public Facade
{
public:
    explicit SegmentsNode(const zr::string& name);

    const zr::string& getName() const { return node->getName(); }
    /// Replaces the segments, (start, end) each.
    void set(const std::vector<std::tuple<Float3, Float3>>& segments);
    void setControlNode(Ref<Node> control) { node->setControlNode(0, control->getNode()); }

    const model::ObjectPtr<model::SegmentsNode>& getNode() const { return node; }

private:
    model::ObjectPtr<model::SegmentsNode> node;
};

class IShellNode : public Facade
{
public:
    /// Finishes the model node; "" or what is missing.
    virtual zr::string build() = 0;
    virtual model::ObjectPtr<model::BaseNode> getNode() const = 0;
};

class ShellNode : public IShellNode
{
public:
    explicit ShellNode(const zr::string& name);

    zr::string build() override;
    model::ObjectPtr<model::BaseNode> getNode() const override { return node; }

    const zr::string& getName() const { return node->getName(); }
    void setIndices(const std::vector<u32>& list) { indices.indices = copyOf(list); }
    /// x, y, z for each vertex; replaces what was there.
    void setPositions(const std::vector<f32>& list) { vertices[model::kPosition0].data = copyOf(list); }
    void setControlNode(Ref<Node> control) { node->setControlNode(0, control->getNode()); }

private:
    model::ObjectPtr<model::ShellNode> node;
    model::Indices indices;
    model::VertexFormat vertexFormat;
    model::Vertices vertices;
};

class Connector : public Facade
{
public:
    explicit Connector(const zr::string& name);

    const zr::string& getName() const { return node->getName(); }
    void setControlNode(Ref<Node> control) { node->setControlNode(0, control->getNode()); }
    /// Both replace the property of that key.
    void setPropertyFloat(const zr::string& key, f32 value);
    void setPropertyString(const zr::string& key, const zr::string& value);

    const model::ObjectPtr<model::Connector>& getNode() const { return node; }

private:
    model::ObjectPtr<model::Connector> node;
};
} // namespace pyzrm
