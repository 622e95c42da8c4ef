#include "compute/VisibilityRanges.h"

namespace pyzrm
{
VisibilityRanges keysToRanges(const KeyList<f32>& keys)
{
    // A value of 1 has to lie inside of a range that is open at its end.
    constexpr f64 kEnd = 1.0001;
    VisibilityRanges ranges;
    if (keys.size() == 1)
    {
        if (std::get<1>(keys[0]) >= 0.5f) ranges.push_back({-1.0, 1.0});
        return ranges;
    }
    bool visible = false;
    f64 start = 0.0;
    for (const auto& [value, state] : keys)
    {
        if (!visible && state >= 0.5f)
        {
            start = value;
            visible = true;
        }
        else if (visible && state < 0.5f)
        {
            ranges.push_back({start, value});
            visible = false;
        }
    }
    if (visible && start < kEnd) ranges.push_back({start, kEnd});
    return ranges;
}
} // namespace pyzrm
