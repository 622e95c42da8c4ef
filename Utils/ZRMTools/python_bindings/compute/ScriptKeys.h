#pragma once

#include "base/Keys.h"
#include "inc/Arguments.h"

namespace pyzrm
{
/// The keys of a script, sorted and, with a tolerance, simplified; `convert` makes a model value of a script's.
template <class V, class S, class Convert>
model::Keys<V> makeKeys(const KeyList<S>& list, Convert convert, const f64* tolerance)
{
    model::Keys<V> keys;
    keys.reserve(list.size());
    for (const auto& [time, value] : list)
        keys.push_back({time, convert(value)});
    model::sortKeys(keys);
    if (tolerance) model::simplifyKeys(keys, *tolerance);
    return keys;
}

/// 128 samples over 0 to 1 for each entry (number of the light, keys), of the sorted and simplified keys; zeros for an
/// entry without keys. Empty when the numbers are not 0, 1, 2 ...
zr::vector<f32> sampleAnimation(const ArgumentKeys<f32>& animation);
} // namespace pyzrm
