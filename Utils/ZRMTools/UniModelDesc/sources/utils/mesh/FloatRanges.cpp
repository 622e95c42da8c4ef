#include "utils/mesh/FloatRanges.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace model
{
namespace
{
constexpr f64 kInfinity = std::numeric_limits<f64>::infinity();
} // namespace

FloatRanges::Range FloatRanges::operator[](std::size_t place) const
{
    measure();
    return ranges[place];
}

zr::vector<u32> FloatRanges::widest(std::size_t first, std::size_t count) const
{
    measure();
    zr::vector<u32> places;
    for (std::size_t i = first; i < ranges.size(); ++i)
        if (ranges[i].width() > 0.0 && !hasNaN[i]) places.push_back(static_cast<u32>(i));
    std::stable_sort(places.begin(), places.end(),
                     [this](u32 a, u32 b) { return ranges[a].width() > ranges[b].width(); });
    if (places.size() > count) places.resize(count);
    return places;
}

void FloatRanges::measure() const
{
    if (!ranges.empty()) return;
    const std::size_t stride = mesh.getStride();
    ranges.assign(stride, {kInfinity, -kInfinity});
    hasNaN.assign(stride, 0);
    zr::vector<f32> vertex(stride);
    for (u32 i = 0; i < mesh.getVertexCount(); ++i)
    {
        mesh.interleaveInto(vertex.data(), i, 1);
        for (std::size_t k = 0; k < stride; ++k)
        {
            const f64 x = static_cast<f64>(vertex[k]);
            hasNaN[k] |= static_cast<u8>(std::isnan(x));
            if (!std::isfinite(x)) continue;
            ranges[k].low = std::min(ranges[k].low, x);
            ranges[k].high = std::max(ranges[k].high, x);
        }
    }
}
} // namespace model
