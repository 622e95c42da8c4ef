#pragma once

#include <functional>
#include <utility>

#include <zr/HashList.h>
#include <zr/hash.h>

namespace zr
{
namespace detail
{
struct WholeValue
{
    template <class Value>
    const Value& operator()(const Value& value) const
    {
        return value;
    }
};
} // namespace detail

/// A set of keys; `HashList` says in which order they stand. Copyable when its keys are. `Hash` and `Equal` have no
/// state. A key is looked up by anything that `Hash` and `Equal` take.
template <class Key, class Hash = hash<Key>, class Equal = std::equal_to<>>
class unordered_set : public detail::HashList<Key, Key, detail::WholeValue, Hash, Equal>
{
    using Base = detail::HashList<Key, Key, detail::WholeValue, Hash, Equal>;

public:
    using typename Base::iterator;

    /// Gives the key's place and whether it is new.
    std::pair<iterator, bool> insert(Key key) { return this->findOrMake(key, std::move(key)); }
};
} // namespace zr
