#include "utils/mesh/FloatRanges.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace model
{
namespace
{
constexpr f64 kInfinity = std::numeric_limits<f64>::infinity();
/// Vertices that are looked at together.
constexpr std::size_t kBlock = 64;
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

void FloatRanges::add(std::size_t place, f64 x) const
{
    hasNaN[place] |= static_cast<u8>(std::isnan(x));
    if (!std::isfinite(x)) return;
    ranges[place].low = std::min(ranges[place].low, x);
    ranges[place].high = std::max(ranges[place].high, x);
}

void FloatRanges::measure() const
{
    if (!ranges.empty()) return;
    const std::size_t stride = mesh.getStride();
    ranges.assign(stride, {kInfinity, -kInfinity});
    hasNaN.assign(stride, 0);
    const std::size_t count = mesh.getVertexCount();
    zr::vector<f32> block(kBlock * stride);
    for (std::size_t first = 0; first < count; first += kBlock)
    {
        const std::size_t size = std::min(kBlock, count - first);
        mesh.interleaveInto(block.data(), first, size);
        for (std::size_t i = 0; i < size * stride; ++i)
            add(i % stride, static_cast<f64>(block[i]));
    }
}
} // namespace model
