#pragma once

#include <functional>
#include <stdexcept>
#include <tuple>
#include <utility>

#include <zr/HashList.h>
#include <zr/hash.h>

namespace zr
{
namespace detail
{
struct FirstOfPair
{
    template <class Pair>
    const auto& operator()(const Pair& pair) const
    {
        return pair.first;
    }
};
} // namespace detail

/// Maps keys to values, each key once; `HashList` says in which order. Copyable when keys and values are. `Hash` and
/// `Equal` have no state. A key is looked up by anything that `Hash` and `Equal` take.
template <class Key, class Value, class Hash = hash<Key>, class Equal = std::equal_to<>>
class unordered_map : public detail::HashList<Key, std::pair<const Key, Value>, detail::FirstOfPair, Hash, Equal>
{
    using Base = detail::HashList<Key, std::pair<const Key, Value>, detail::FirstOfPair, Hash, Equal>;

public:
    using mapped_type = Value;
    using typename Base::const_iterator;
    using typename Base::iterator;
    using typename Base::value_type;

    /// The value of a key that is there; `std::out_of_range`, "invalid unordered_map<K, T> key" otherwise.
    template <class Query>
    const Value& at(const Query& key) const
    {
        const_iterator found = this->find(key);
        if (found == this->end()) throw std::out_of_range("invalid unordered_map<K, T> key");
        return found->second;
    }
    template <class Query>
    Value& at(const Query& key)
    {
        return const_cast<Value&>(std::as_const(*this).at(key));
    }

    /// Makes a value of `args` for a new key. Gives the key's place and whether it is new.
    template <class... Args>
    std::pair<iterator, bool> try_emplace(Key key, Args&&... args)
    {
        return this->findOrMake(key, std::piecewise_construct, std::forward_as_tuple(std::move(key)),
                                std::forward_as_tuple(std::forward<Args>(args)...));
    }
    std::pair<iterator, bool> insert(value_type value) { return this->findOrMake(value.first, std::move(value)); }

    /// The value of the key; a new key gets a value-initialized one.
    Value& operator[](Key key) { return try_emplace(std::move(key)).first->second; }
};
} // namespace zr
