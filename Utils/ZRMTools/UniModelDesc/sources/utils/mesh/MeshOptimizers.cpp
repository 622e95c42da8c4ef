#include "RootNode.h"
#include "utils/Optimizers.h"
#include "utils/RemoveEmpty.h"
#include "utils/mesh/MeshTasks.h"
#include <zr/checked.h>

// The meshes of a list in its order, each by itself: `MeshTasks` does the work. Only what is added up here is shared.
namespace model
{
namespace
{
/// Calls `work` with each task, as often as the list has its node.
template <class Work>
void runTasks(const MeshTasks& tasks, Work work)
{
    for (const MeshTask& task : tasks)
        for (std::size_t i = 0; i < task.places.size(); ++i)
            work(task);
}

/// Adds what was removed to `removed`. Behind the first mesh that raises, none is touched.
void cleanMeshes(MeshTasks tasks, f32 tolerance, std::pair<u32, u32>& removed)
{
    const bool hasUnsound = cutAtUnsound(tasks);
    runTasks(tasks,
             [&](const MeshTask& task)
             {
                 const auto [vertices, triangles] = cleanMesh(task, tolerance);
                 removed.first += vertices;
                 removed.second += triangles;
             });
    if (hasUnsound) zr::raiseBadIndex();
}
} // namespace

std::pair<u32, u32> extremlyOptimizeMeshes(RootNode* root, f32 tolerance)
{
    std::pair<u32, u32> removed;
    cleanMeshes(renderMeshTasks(*root), tolerance, removed);
    removeEmptyRenderNodes(root);
    cleanMeshes(shellMeshTasks(*root), tolerance, removed);
    removeEmptyShellNodes(root);
    return removed;
}

u32 remapMeshes(RootNode* root)
{
    u32 removed = 0;
    const auto remap = [&removed](const MeshTask& task) { removed += remapVertices(*task.vertices, *task.indices); };
    runTasks(renderMeshTasks(*root), remap);
    runTasks(shellMeshTasks(*root), remap);
    return removed;
}

bool optimizeVertexCache(RootNode* root)
{
    bool isChanged = false;
    const auto reorder = [&isChanged](const MeshTask& task)
    { isChanged |= optimizeVertexCache(*task.vertices, *task.indices); };
    runTasks(renderMeshTasks(*root), reorder);
    runTasks(shellMeshTasks(*root), reorder);
    return isChanged;
}
} // namespace model
