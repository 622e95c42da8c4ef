#pragma once

#include "base/Keys.h"
#include "io/put.h"

namespace model
{
/// A list of keys as every record holds it: the count, then the time and the value of each.
template <class V>
void putKeys(io::IBinaryFileW& file, const Keys<V>& keys)
{
    file.writeU32(static_cast<u32>(keys.size()));
    for (const Key<V>& key : keys)
    {
        io::put(file, key.time);
        io::put(file, key.value);
    }
}
} // namespace model
