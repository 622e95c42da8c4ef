#include <zrvfs/VFSManager.h>

#include "base/ObjectRegistry.h"
#include "bind/Binder.h"
#include "finishing/Finishing.h"
#include "inc/DevMode.h"
#include "inc/FakeLights.h"
#include "inc/FixedNodes.h"
#include "inc/Model.h"
#include "inc/PBRNode.h"
#include "inc/blocks/BaseBlocks.h"
#include "inc/blocks/BoneBlock.h"
#include "inc/blocks/DamageBlock.h"
#include "inc/blocks/EmissiveBlocks.h"
#include "inc/blocks/MapBlocks.h"
#include "inc/blocks/NumberBlock.h"

namespace pyzrm
{
/// The tree of mounts comes with the module and stands ready, though nothing mounts into it here.
[[maybe_unused]] static const zrvfs::Manager& tree = zrvfs::manager();

/// Ignores a name that is none of the six.
static void enableModelOptimization(const zr::string& name, bool enable)
{
    model::OptimizationSwitches& switches = model::optimizationSwitches();
    if (name == "optimizeTransformations") switches.optimizeTransformations = enable;
    if (name == "mergePopertiesSets") switches.mergePopertiesSets = enable;
    if (name == "optimizeTextureChannels") switches.optimizeTextureChannels = enable;
    if (name == "mergeNodes") switches.mergeNodes = enable;
    if (name == "extremlyOptimizeMeshes") switches.extremlyOptimizeMeshes = enable;
    if (name == "optimizeVertexCache") switches.optimizeVertexCache = enable;
}

/// The order in which scripts see the classes; a base stands before what derives from it.
void declareClasses(py::module_& m)
{
    declare<Model>(m, "Model");
    declare<Node>(m, "Node");
    declare<Transform, Node>(m, "Transform");
    declare<Lod, Node>(m, "Lod");
    declare<NumberRoot, Node>(m, "NumberRoot");
    declare<VisibilityNode, Node>(m, "VisibilityNode");
    declare<AnimationNode, Node>(m, "AnimationNode");
    declare<IBlock>(m, "IBlock");
    declare<BaseBlock, IBlock>(m, "BaseBlock");
    declare<ColorBaseBlock, IBlock>(m, "ColorBaseBlock");
    declare<FlirBlock, IBlock>(m, "FlirBlock");
    declare<DamageBlock, IBlock>(m, "DamageBlock");
    declare<BoneBlock, IBlock>(m, "BoneBlock");
    declare<NumberBlock, IBlock>(m, "NumberBlock");
    declare<EmissiveBlock, IBlock>(m, "EmissiveBlock");
    declare<EmissiveColorBlock, IBlock>(m, "EmissiveColorBlock");
    declare<AoBlock, IBlock>(m, "AoBlock");
    declare<DecalBlock, IBlock>(m, "DecalBlock");
    declare<NormalBlock, IBlock>(m, "NormalBlock");
    declare<AormsBlock, IBlock>(m, "AormsBlock");
    declare<GlassFilterBlock, IBlock>(m, "GlassFilterBlock");
    declare<IRenderNode>(m, "IRenderNode");
    declare<FakeOmniLights::FakeOmniLight>(m, "FakeOmniLight");
    declare<FakeOmniLights, IRenderNode>(m, "FakeOmniLights");
    declare<AnimatedFakeOmniLights, FakeOmniLights>(m, "AnimatedFakeOmniLight");
    declare<FakeSpotLights::FakeSpotLight>(m, "FakeSpotLight");
    declare<FakeSpotLights, IRenderNode>(m, "FakeSpotLights");
    declare<AnimatedFakeSpotLights, FakeSpotLights>(m, "AnimatedFakeSpotLight");
    declare<SegmentsNode>(m, "SegmentsNode");
    declare<ShellNode>(m, "ShellNode");
    declare<Connector>(m, "Connector");
    declare<ILight>(m, "ILight");
    declare<OmniLight, ILight>(m, "OmniLight");
    declare<SpotLight, ILight>(m, "SpotLight");
    declare<Bone, Node>(m, "Bone");
    declare<PropertyFloat>(m, "PropertyFloat");
    declare<PropertyFloat2>(m, "PropertyFloat2");
    declare<PropertyFloat3>(m, "PropertyFloat3");
    declare<PBRNode, IRenderNode>(m, "PBRNode");
    declare<GlassNode, PBRNode>(m, "GlassNode");
    declare<MirrorNode, IRenderNode>(m, "MirrorNode");
    declare<ColorNode, IRenderNode>(m, "ColorNode");
    declare<DeckNode, IRenderNode>(m, "DeckNode");
}
} // namespace pyzrm

PYBIND11_MODULE(pyzrm_313, m)
{
    // The documentation is in the stubs; only the functions have a text here, and that is all of it.
    pybind11::options options;
    options.disable_function_signatures();

    pyzrm::bindStartAndStop(m);
    m.def(
        "get_num_alived_objects", [] { return model::getObjectRegistry().getCount(); },
        "Returns number of alived objects.");
    m.def("dev_mode", &pyzrm::isDevMode, "Returns if development mode is enabled.");
    m.def("enable_model_optimization", &pyzrm::enableModelOptimization,
          "Controls which optimizationa will be enabled.");
    pyzrm::bindLog(m);

    pyzrm::declareClasses(m);
    pyzrm::bindModel();
    pyzrm::bindNodes();
    pyzrm::bindBlocks();
    pyzrm::bindFakeLights();
    pyzrm::bindShells();
    pyzrm::bindLights();
    pyzrm::bindProperties();
    pyzrm::bindRenderNodes();
}
