#pragma once

#include <utility>

#include "materials/PropertiesSet.h"
#include "nodes/BaseNode.h"
#include "nodes/Node.h"

namespace model
{
/// A whole model: the tree of nodes, the lists of what hangs on it, and three boxes.
///
/// The tree's links are strong references in both directions; the root's destructor cuts them, so that the tree ends
/// with its root except for the nodes that somebody else still holds.
class RootNode final : public NodeClass<RootNode, BaseNode>
{
public:
    using List = zr::vector<ObjectPtr<BaseNode>>;
    /// A thing and the number of the control node by which it hangs on a node.
    using User = std::pair<ObjectPtr<BaseNode>, int>;

    RootNode();
    ~RootNode() override;

    u64 getNumControlNodes() const override { return 0; }
    ObjectPtr<Node> getControlNode(u64) const override { return nullptr; }
    void setControlNode(u64, ObjectPtr<Node>) override {}

    void setRootTransform(ObjectPtr<Node> node) { rootTransform = std::move(node); }
    ObjectPtr<Node> getRootTransform() const { return rootTransform; }

    /// Sets the node's `root` and appends it; a node added twice is in the list twice. A null node is ignored.
    void addRenderNode(ObjectPtr<BaseNode> node);
    void addShellNode(ObjectPtr<BaseNode> node);

    /// Puts the last entry in the place of the node's first entry and shortens the list by one. Does nothing when the
    /// node is not in the list. Searches from the front; to remove many nodes use `ListPlaces`.
    void removeRenderNode(const BaseNode* node);

    /// Connectors, lights, shells, render nodes, each in list order.
    List getAllNodes() const;
    /// Everything that hangs on `node`, in the order of `getAllNodes`.
    zr::vector<User> getUsers(const Node* node) const;
    bool isUsed(const Node* node) const;
    /// Hangs everything from `old` onto `replacement`; true when there was something.
    bool replaceControlNode(const Node* old, const ObjectPtr<Node>& replacement);

    /// Rebuilds `materials` from the render nodes: each distinct set once, in the order of its first use.
    void collectMaterials();
    /// `collectMaterials`, then a copy of the list.
    zr::vector<MaterialPtr> getMaterials();
    /// The position in `materials`; -1 when it is not there (or null).
    int getMaterialIndex(const PropertiesSet* material) const;

    /// The largest argument handle in use plus one; 0 when none is used.
    u32 calcNumHandles() const;

    /// Settles what a file needs settled (`prepareForWriting`) and writes the model. The file is touched only when all
    /// its bytes are ready. Defined with the finishing of a model, which knows the writers.
    /// @throws zr::ExtException "Unsupported version %d", "Can't write to file " and the path, or what a record raises.
    void writeToFile(const char* path, u16 fileVersion);

    ObjectPtr<Node> rootTransform;
    List connectors;
    List renderNodes;
    List shellNodes;
    List lights;
    Box boundingBox;
    Box userBox;
    Box lightBox;
    zr::vector<MaterialPtr> materials;

private:
    /// Calls the function with each place where something hangs on `node`, in the order of `getAllNodes`, until it
    /// gives false; false when it did.
    bool forEachUser(const Node* node, const std::function<bool(BaseNode&, u64)>& function) const;
};
} // namespace model
