#include "utils/tree/Bakes.h"

#include <algorithm>

#include "nodes/BaseMeshRenderNode.h"
#include "nodes/FakeLights.h"
#include "nodes/FakeOmniLights.h"
#include "nodes/FakeSpotLights.h"
#include "nodes/FakeSpotLights3Node.h"

namespace model::utils
{
namespace
{
Vertices* verticesOf(BaseNode& user)
{
    if (auto* mesh = dynamic_cast<BaseMeshRenderNode*>(&user)) return &mesh->vertices;
    if (auto* points = dynamic_cast<FakeSpotLights3Node*>(&user)) return &points->vertices;
    return nullptr;
}

const FakeSpotLightsNode* spotsOf(const BaseNode& user)
{
    const u32 type = user.getType();
    const bool isSpots = type == kFakeSpotLightsNode || type == kAnimatedFakeSpotLightsNode;
    return isSpots ? static_cast<const FakeSpotLightsNode*>(&user) : nullptr;
}

/// A light without a direction fails when its turn comes, which must not wait.
bool lacksDirections(const FakeSpotLightsNode& spots)
{
    return !spots.directions.empty() && spots.directions.size() < spots.lights.size();
}

/// Calls `move(i, matrix)` for each light and each matrix of its control, in the order of the list.
template <class Light, class Move>
void moveLights(const zr::vector<Light>& lights, zr::vector<SelectorMatrix> list, Move move)
{
    const auto bySelector = [](const SelectorMatrix& a, const SelectorMatrix& b) { return a.selector < b.selector; };
    std::stable_sort(list.begin(), list.end(), bySelector);
    for (std::size_t i = 0; i < lights.size(); ++i)
    {
        const u32 control = lights[i].controlIndex;
        auto entry = std::lower_bound(list.begin(), list.end(), SelectorMatrix{control, nullptr}, bySelector);
        for (; entry != list.end() && entry->selector == control; ++entry)
            move(i, entry->matrix);
    }
}

void bake(BaseNode& user, const zr::vector<SelectorMatrix>& list)
{
    if (Vertices* vertices = verticesOf(user))
        vertices->applyMatrices(list);
    else if (auto* omni = dynamic_cast<FakeOmniLightsNode*>(&user))
        moveLights(omni->lights, list, [omni](std::size_t i, const f64* m) { moveLight(omni->lights[i], m); });
    else if (auto* spots = dynamic_cast<FakeSpotLightsNode*>(&user))
        moveLights(spots->lights, list, [spots](std::size_t i, const f64* m) { spots->moveLightAt(i, m); });
}
} // namespace

bool Bakes::apply(const Use& use, const matrixd& matrix)
{
    if (!use.canWait) return use.user->applyMatrix(use.index, matrix.m);
    const auto [place, isNew] = places.try_emplace(use.user, static_cast<u32>(pending.size()));
    if (isNew) pending.push_back({use.user, {}});
    pending[place->second].matrices.emplace_back(use.index, matrix);
    return true;
}

Bakes::~Bakes()
{
    for (const Pending& entry : pending)
    {
        zr::vector<SelectorMatrix> list;
        for (const auto& [control, matrix] : entry.matrices)
            list.push_back({control, matrix.m});
        bake(*entry.user, list);
    }
}

bool canWait(BaseNode& user)
{
    if (user.getNumControlNodes() < 2) return false;
    if (const auto* spots = spotsOf(user)) return !lacksDirections(*spots);
    return verticesOf(user) || dynamic_cast<const FakeOmniLightsNode*>(&user);
}

bool dependsOnOrder(BaseNode& user)
{
    if (const auto* spots = spotsOf(user)) return lacksDirections(*spots);
    if (user.getNumControlNodes() < 2) return false;
    const Vertices* vertices = verticesOf(user);
    return vertices && vertices->strideOf(kPosition0) == 3;
}
} // namespace model::utils
