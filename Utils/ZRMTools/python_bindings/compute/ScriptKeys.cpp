#include "compute/ScriptKeys.h"

#include "nodes/FakeOmniLights.h"

namespace pyzrm
{
zr::vector<f32> sampleAnimation(const ArgumentKeys<f32>& animation)
{
    zr::vector<f32> samples;
    samples.reserve(animation.size() * model::kSamplesPerLight);
    i64 expected = 0;
    for (const auto& [light, list] : animation)
    {
        if (light.value != expected++) return {};
        const auto keys = makeKeys<f32>(list, [](f32 value) { return value; }, &model::kPropertyTolerance);
        for (u32 k = 0; k < model::kSamplesPerLight; ++k)
            samples.push_back(model::evaluateKeys(keys, k / f64(model::kSamplesPerLight - 1)));
    }
    return samples;
}
} // namespace pyzrm
