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
        for (u32 i = 0; i < task.times; ++i)
            work(task);
}

/// Adds what was removed to `removed`. Behind the first mesh that raises, none is touched.
void cleanMeshes(const RootNode& root, MeshTasks (*tasksOf)(const RootNode&, std::size_t), f32 tolerance,
                 std::pair<u32, u32>& removed)
{
    MeshTasks tasks = tasksOf(root, kWholeList);
    const std::size_t numSound = countSound(tasks);
    const bool areAllSound = numSound == tasks.size();
    if (!areAllSound) tasks = tasksOf(root, tasks[numSound].place);
    runTasks(tasks,
             [&](const MeshTask& task)
             {
                 const auto [vertices, triangles] = cleanMesh(task, tolerance);
                 removed.first += vertices;
                 removed.second += triangles;
             });
    if (!areAllSound) zr::raiseBadIndex();
}
} // namespace

std::pair<u32, u32> extremlyOptimizeMeshes(RootNode* root, f32 tolerance)
{
    std::pair<u32, u32> removed;
    cleanMeshes(*root, renderMeshTasks, tolerance, removed);
    removeEmptyRenderNodes(root);
    cleanMeshes(*root, shellMeshTasks, tolerance, removed);
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
    TriangleOrders orders;
    const auto reorder = [&isChanged, &orders](const MeshTask& task)
    { isChanged |= optimizeVertexCache(*task.vertices, *task.indices, orders); };
    runTasks(renderMeshTasks(*root), reorder);
    runTasks(shellMeshTasks(*root), reorder);
    return isChanged;
}
} // namespace model
