#pragma once

#include "IClassWriter.h"
#include "io/10/NodeWriter10.h"

namespace model
{
/// Writes files of version 10: the head, the root with the materials, the nodes of the tree with their parents, then
/// what hangs on them, list by list. The table of strings, known only at the end, is put in behind the version.
class ClassWriter10 final : public IClassWriter
{
public:
    void write(const RootNode* root, FileParts& out) override;
    u16 fileVersion() const override { return 10; }

private:
    void calcNumTransformNodes(const RootNode& root);
    void saveTransformNodes(NodeWriter10& writer);
    void saveTransformNodesConnections();
    void saveSections(const RootNode& root, NodeWriter10& writer);
    void insertStringTable();

    /// The nodes of the tree in the order of their numbers.
    zr::vector<const Node*> treeNodes;
    NodeIndexMap indices;
    MemBinaryFileW file;
};
} // namespace model
