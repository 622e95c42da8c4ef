#pragma once

#include "io/10/NodeWriter10.h"
#include "io/IClassWriter.h"

namespace model
{
/// Writes files of version 10.
class ClassWriter10 final : public IClassWriter
{
public:
    void write(RootNode* root, ByteBuffer& out) override;
    u16 fileVersion() const override { return 10; }

private:
    void calcNumTransformNodes(const RootNode& root);
    void saveTransformNodes(const RootNode& root, NodeWriter10& writer);
    void saveTransformNodesConnections(const RootNode& root);
    void saveSections(const RootNode& root, NodeWriter10& writer);
    void insertStringTable();

    NodeIndexMap indices;
    MemBinaryFileW file;
};
} // namespace model
