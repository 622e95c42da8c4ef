#pragma once

#include <cstddef>
#include <functional>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include <zr/containers.h>

/// Hash containers whose iteration order is part of their promise: the same on every platform and compiler.
///
/// All elements stand in one doubly linked list, which is the order of iteration. A table of 2^k buckets, 8 at the
/// start, holds the first and the last element of each bucket, whose elements are neighbours in the list:
///
///     list       A  B  C  D  E
///     bucket 3   first = A, last = B
///     bucket 0   first = C, last = C
///     bucket 6   first = D, last = E
///
/// A new key goes to the end of the list when its bucket is empty, otherwise directly before the bucket's first
/// element. At most one element for each bucket: an insertion that would pass this first grows the table (see `grow`).
///
/// References and iterators stay valid until their element is erased. Insertion, lookup and erasure cost a constant.
namespace zr
{
/// 64-bit FNV-1a over `size` bytes.
inline u64 hashBytes(const unsigned char* bytes, std::size_t size) noexcept
{
    u64 hash = 0xCBF29CE484222325;
    for (std::size_t i = 0; i < size; ++i)
        hash = (hash ^ bytes[i]) * 0x100000001B3;
    return hash;
}

/// The hash of a key: `hashBytes` over its bytes. Integers, enumerations and pointers count least significant byte
/// first. The order of a container with pointer keys depends on the addresses: never let it show.
template <class Key>
struct hash
{
    static_assert(std::is_integral_v<Key> || std::is_enum_v<Key> || std::is_pointer_v<Key>,
                  "This key needs a hash of its own.");

    u64 operator()(Key key) const noexcept
    {
        u64 value;
        if constexpr (std::is_pointer_v<Key>)
            value = reinterpret_cast<std::uintptr_t>(key);
        else
            value = static_cast<u64>(key);
        unsigned char bytes[sizeof(Key)];
        for (unsigned char& byte : bytes)
        {
            byte = static_cast<unsigned char>(value);
            value >>= 8;
        }
        return hashBytes(bytes, sizeof(Key));
    }
};

/// Strings are looked up by anything that converts to a string view.
template <class Allocator>
struct hash<std::basic_string<char, std::char_traits<char>, Allocator>>
{
    u64 operator()(std::string_view text) const noexcept
    {
        return hashBytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
    }
};

namespace detail
{
[[noreturn]] void raiseHashTableTooLong();
[[noreturn]] void raiseBadBucketCount();
[[noreturn]] void raiseUnknownKey();

/// The list and the bucket table behind both containers. `KeyOf` gives the key of an element.
template <class Key, class Value, class KeyOf, class Hash, class Equal>
class HashList
{
    struct Links
    {
        Links* next;
        Links* prev;
    };
    struct Element : Links
    {
        template <class... Args>
        explicit Element(Args&&... args) : Links{},
                                           value(std::forward<Args>(args)...)
        {
        }

        Value value;
    };
    struct Bucket
    {
        Links* first;
        Links* last;
    };

    template <class Reference>
    class Iterator
    {
    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = Value;
        using difference_type = std::ptrdiff_t;
        using pointer = Reference*;
        using reference = Reference&;

        Iterator() = default;
        /// An iterator is also a constant one.
        template <class Other>
        requires(std::is_const_v<Reference>&& std::is_same_v<const Other, Reference> && !std::is_const_v<Other>)
            Iterator(const Iterator<Other>& other)
        noexcept : links(other.links) {}

        reference operator*() const { return static_cast<Element*>(links)->value; }
        pointer operator->() const { return &**this; }
        Iterator& operator++()
        {
            links = links->next;
            return *this;
        }
        Iterator& operator--()
        {
            links = links->prev;
            return *this;
        }
        Iterator operator++(int)
        {
            Iterator old = *this;
            ++*this;
            return old;
        }
        Iterator operator--(int)
        {
            Iterator old = *this;
            --*this;
            return old;
        }
        friend bool operator==(const Iterator&, const Iterator&) = default;

    private:
        friend HashList;
        friend Iterator<const Value>;
        explicit Iterator(Links* at) noexcept : links(at) {}

        Links* links = nullptr;
    };

public:
    using key_type = Key;
    using value_type = Value;
    using const_iterator = Iterator<const Value>;
    /// The keys of a set never change in place.
    using iterator = std::conditional_t<std::is_same_v<Key, Value>, const_iterator, Iterator<Value>>;

    HashList() noexcept = default;
    HashList(HashList&& other) noexcept { swap(other); }
    HashList& operator=(HashList&& other) noexcept
    {
        HashList taken(std::move(other));
        swap(taken);
        return *this;
    }
    ~HashList() { destroyElements(); }

    iterator begin() noexcept { return iterator(end_.next); }
    iterator end() noexcept { return iterator(&end_); }
    const_iterator begin() const noexcept { return const_iterator(end_.next); }
    const_iterator end() const noexcept { return const_iterator(const_cast<Links*>(&end_)); }

    std::size_t size() const noexcept { return count; }
    bool empty() const noexcept { return count == 0; }

    template <class Query>
    iterator find(const Query& key)
    {
        Links* found = lookup(key, hashOf(key));
        return iterator(found ? found : &end_);
    }
    template <class Query>
    const_iterator find(const Query& key) const
    {
        Links* found = lookup(key, hashOf(key));
        return found ? const_iterator(found) : end();
    }
    template <class Query>
    bool contains(const Query& key) const
    {
        return lookup(key, hashOf(key)) != nullptr;
    }

    /// Gives the iterator behind the erased element.
    iterator erase(const_iterator position)
    {
        auto* element = static_cast<Element*>(position.links);
        Bucket& bucket = bucketOf(hashOf(KeyOf{}(element->value)));
        if (bucket.first == bucket.last)
            bucket = {};
        else if (bucket.first == element)
            bucket.first = element->next;
        else if (bucket.last == element)
            bucket.last = element->prev;
        iterator following(element->next);
        unlink(element);
        --count;
        destroy(element);
        return following;
    }
    /// Gives the number of erased elements, 0 or 1.
    template <class Query>
    requires(!std::is_convertible_v<const Query&, const_iterator>) std::size_t erase(const Query& key)
    {
        Links* found = lookup(key, hashOf(key));
        if (!found) return 0;
        erase(const_iterator(found));
        return 1;
    }

    /// Keeps the bucket table as large as it is.
    void clear() noexcept
    {
        destroyElements();
        end_ = {&end_, &end_};
        count = 0;
        for (Bucket& bucket : buckets)
            bucket = {};
    }

    void swap(HashList& other) noexcept
    {
        std::swap(end_, other.end_);
        std::swap(count, other.count);
        buckets.swap(other.buckets);
        closeRing();
        other.closeRing();
    }

protected:
    /// Finds `key` or makes an element of `args`, whose key has to equal `key`.
    template <class Query, class... Args>
    std::pair<iterator, bool> findOrMake(const Query& key, Args&&... args)
    {
        const u64 hashed = hashOf(key);
        if (Links* found = lookup(key, hashed)) return {iterator(found), false};
        if (count == kMaxCount) raiseHashTableTooLong();
        Element* element = make(std::forward<Args>(args)...);
        if (count == buckets.size()) grow();
        Bucket& bucket = bucketOf(hashed);
        if (!bucket.first)
        {
            linkBefore(&end_, element);
            bucket = {element, element};
        }
        else
        {
            linkBefore(bucket.first, element);
            bucket.first = element;
        }
        ++count;
        return {iterator(element), true};
    }

private:
    static constexpr std::size_t kFirstBuckets = 8;
    static constexpr std::size_t kMaxCount = PTRDIFF_MAX / sizeof(Element);

    template <class Query>
    static u64 hashOf(const Query& key)
    {
        return Hash{}(key);
    }

    Bucket& bucketOf(u64 hashed) { return buckets[hashed & (buckets.size() - 1)]; }

    /// Every element of the key's bucket from the last to the first; null when none has the key.
    template <class Query>
    Links* lookup(const Query& key, u64 hashed) const
    {
        if (buckets.empty()) return nullptr;
        const Bucket& bucket = buckets[hashed & (buckets.size() - 1)];
        for (Links* at = bucket.last; at; at = at == bucket.first ? nullptr : at->prev)
            if (Equal{}(KeyOf{}(static_cast<Element*>(at)->value), key)) return at;
        return nullptr;
    }

    /// 8 times the buckets while there are fewer than 512, then twice: enough for one element more.
    ///
    /// Walks the list in order. An element whose new bucket is still empty stays where it is; any other moves directly
    /// before that bucket's first element.
    void grow()
    {
        const std::size_t old = buckets.size();
        const std::size_t wanted = old == 0 ? kFirstBuckets : old < 512 ? old * 8 : old * 2;
        if (wanted > buckets.max_size()) raiseBadBucketCount();
        buckets.assign(wanted, Bucket{});
        for (Links* at = end_.next; at != &end_;)
        {
            Links* following = at->next;
            Bucket& bucket = bucketOf(hashOf(KeyOf{}(static_cast<Element*>(at)->value)));
            if (!bucket.first)
                bucket = {at, at};
            else
            {
                unlink(at);
                linkBefore(bucket.first, at);
                bucket.first = at;
            }
            at = following;
        }
    }

    static void linkBefore(Links* place, Links* element) noexcept
    {
        element->next = place;
        element->prev = place->prev;
        place->prev->next = element;
        place->prev = element;
    }
    static void unlink(Links* element) noexcept
    {
        element->prev->next = element->next;
        element->next->prev = element->prev;
    }

    /// The ends of a list that came from another object still point there.
    void closeRing() noexcept
    {
        if (count == 0)
            end_ = {&end_, &end_};
        else
            end_.next->prev = end_.prev->next = &end_;
    }

    template <class... Args>
    static Element* make(Args&&... args)
    {
        Element* element = allocator<Element>().allocate(1);
        try
        {
            return ::new (element) Element(std::forward<Args>(args)...);
        }
        catch (...)
        {
            allocator<Element>().deallocate(element, 1);
            throw;
        }
    }
    static void destroy(Element* element) noexcept
    {
        element->~Element();
        allocator<Element>().deallocate(element, 1);
    }
    void destroyElements() noexcept
    {
        for (Links* at = end_.next; at != &end_;)
        {
            Links* following = at->next;
            destroy(static_cast<Element*>(at));
            at = following;
        }
    }

    Links end_{&end_, &end_};
    std::size_t count = 0;
    vector<Bucket> buckets; // made at the first insertion
};

struct FirstOfPair
{
    template <class Pair>
    const auto& operator()(const Pair& pair) const
    {
        return pair.first;
    }
};
struct WholeValue
{
    template <class Value>
    const Value& operator()(const Value& value) const
    {
        return value;
    }
};
} // namespace detail

/// Maps keys to values. Movable, not copyable. `Hash` and `Equal` have no state.
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
    Value& at(const Query& key)
    {
        iterator found = this->find(key);
        if (found == this->end()) detail::raiseUnknownKey();
        return found->second;
    }
    template <class Query>
    const Value& at(const Query& key) const
    {
        const_iterator found = this->find(key);
        if (found == this->end()) detail::raiseUnknownKey();
        return found->second;
    }

    /// Makes a value of `args` for a new key. Gives the key's place and whether it is new.
    template <class... Args>
    std::pair<iterator, bool> try_emplace(Key key, Args&&... args)
    {
        return this->findOrMake(key, std::piecewise_construct, std::forward_as_tuple(std::move(key)),
                                std::forward_as_tuple(std::forward<Args>(args)...));
    }
    std::pair<iterator, bool> insert(value_type value) { return this->findOrMake(value.first, std::move(value)); }

    Value& operator[](Key key) { return try_emplace(std::move(key)).first->second; }
};

/// A set of keys. Movable, not copyable. `Hash` and `Equal` have no state.
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
