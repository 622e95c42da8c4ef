#pragma once

#include "Vertices.h"

namespace model
{
/// The ranges of the floats of a packed vertex over a whole mesh. They are found when one is first asked for: hardly
/// any mesh needs them.
class FloatRanges
{
public:
    struct Range
    {
        f64 low = 0.0;
        f64 high = 0.0;
        f64 width() const { return high - low; }
    };

    /// vertices  looked at as long as this lives; packed ones may close up in the meantime
    explicit FloatRanges(const Vertices& vertices) : mesh(vertices) {}

    /// Of the finite values of a float.
    Range operator[](std::size_t place) const;
    /// At most so many floats from `first` on, the widest first; none that is the same everywhere or NaN somewhere.
    zr::vector<u32> widest(std::size_t first, std::size_t count) const;

private:
    void measure() const;
    void add(std::size_t place, f64 x) const;

    const Vertices& mesh;
    mutable zr::vector<Range> ranges;
    mutable zr::vector<u8> hasNaN;
};
} // namespace model
