#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
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
namespace zr::detail
{
/// `std::length_error`, "unordered_map/set too long".
[[noreturn]] void raiseHashTableTooLong();
/// `std::out_of_range`, "invalid hash bucket count".
[[noreturn]] void raiseBadBucketCount();

/// The list and the bucket table behind both containers. `KeyOf` gives the key of an element; `Hash` has no state and
/// throws nothing.
///
/// An element that throws while it is made or copied leaves the container as it was.
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
            requires(std::is_const_v<Reference> && std::is_same_v<const Other, Reference> && !std::is_const_v<Other>)
        Iterator(const Iterator<Other>& other) noexcept : links(other.links)
        {
        }

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
    /// A copy iterates in the order of its source and grows as the source would.
    HashList(const HashList& other)
        requires(std::is_copy_constructible_v<Value>)
        : HashList()
    {
        buckets.assign(other.buckets.size(), Bucket{});
        for (const Value& value : other)
        {
            Element* element = make(value);
            linkBefore(&end_, element);
            ++count;
            Bucket& bucket = bucketOf(hashOf(KeyOf{}(element->value)));
            if (!bucket.first) bucket.first = element;
            bucket.last = element;
        }
    }
    HashList(HashList&& other) noexcept { swap(other); }
    HashList& operator=(const HashList& other)
        requires(std::is_copy_constructible_v<Value>)
    {
        HashList copy(other);
        swap(copy);
        return *this;
    }
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

    /// Makes a table in which `wanted` elements have room, so that the next insertions need not grow it. Iterators stay
    /// valid; the order changes as it does when the table grows. `std::out_of_range`, "invalid hash bucket count", when
    /// no table is so large.
    void reserve(std::size_t wanted)
    {
        if (wanted > buckets.size()) rehash(wanted);
    }

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
        requires(!std::is_convertible_v<const Query&, const_iterator>)
    std::size_t erase(const Query& key)
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
        if (count == buckets.size()) grow(); // last, as an element that throws must not change the order
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
    static constexpr std::size_t kMaxBuckets = std::bit_floor(PTRDIFF_MAX / sizeof(Bucket));
    /// As one bucket holds one element on average, an insertion never asks for too many buckets.
    static constexpr std::size_t kMaxCount = std::min(PTRDIFF_MAX / sizeof(Element), kMaxBuckets);

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

    /// 8 times the buckets while there are fewer than 512, then twice.
    void grow() { rehash(buckets.size() < 512 ? buckets.size() * 8 : buckets.size() * 2); }

    /// Makes a table of at least `wanted` buckets, which are more than there are.
    ///
    /// Walks the list in order. An element whose new bucket is still empty stays where it is; any other moves directly
    /// before that bucket's first element.
    void rehash(std::size_t wanted)
    {
        if (wanted > kMaxBuckets) raiseBadBucketCount();
        buckets.assign(std::bit_ceil(wanted < kFirstBuckets ? kFirstBuckets : wanted), Bucket{});
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
} // namespace zr::detail
