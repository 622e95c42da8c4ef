#pragma once

#include "base/types.h"
#include <zr/containers.h>

namespace model
{
class RootNode;

/// Which passes a save runs. The names are those that scripts use.
struct OptimizationSwitches
{
    bool optimizeTransformations = true;
    bool mergePopertiesSets = true;
    bool optimizeTextureChannels = true;
    bool mergeNodes = true;
    bool extremlyOptimizeMeshes = true;
    bool optimizeVertexCache = true;
};

/// The switches of the process, all on at the start.
OptimizationSwitches& optimizationSwitches();

/// Finishes a model in place: two-sided meshes, zero normals, the passes under their switches, the boxes.
///
/// There is no way back: what is done stays done when a step fails, and a second call works on what the first one left.
/// returns  "", or the text that says why the model can't be written
/// @throws zr::ExtException and std::out_of_range from any step
zr::string finishModel(RootNode& root);

/// `finishModel`, then, when that gave "", the writing of the file. The file is touched only as the last action.
zr::string finishAndSave(RootNode& root, const char* path, u16 version);
} // namespace model
