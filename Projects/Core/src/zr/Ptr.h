#pragma once

#include <atomic>
#include <type_traits>

#include <zr/types.h>

namespace zr
{
/// Carries an intrusive reference count that starts at 0. It has no virtual functions, so a class that derives from
/// it and has none either keeps the count as its first member. Copying an object never copies its count.
class SharedLite
{
public:
    SharedLite() noexcept = default;
    SharedLite(const SharedLite&) noexcept {}
    SharedLite& operator=(const SharedLite&) noexcept { return *this; }

    void addReference() const noexcept { count.fetch_add(1); }
    /// The count before the decrement.
    u32 dropReference() const noexcept { return count.fetch_sub(1); }
    u32 getReferenceCount() const noexcept { return count.load(); }

private:
    mutable std::atomic<u32> count{0};
};

/// A `SharedLite` that is deleted through its virtual destructor.
class Shared : public SharedLite
{
public:
    virtual ~Shared() = default;
};

/// Calls the virtual destructor with deletion.
struct DefaultDeleter
{
    template <class T>
    void operator()(T* object) const
    {
        delete object;
    }
};

/// Counts through `SharedLite`; the last owner runs `Deleter`.
template <class Deleter>
struct SharedCounting
{
    template <class T>
    static void retain(T* object) noexcept
    {
        object->addReference();
    }
    template <class T>
    static void drop(T* object)
    {
        if (object->dropReference() == 1) Deleter{}(object);
    }
};

/// Owns one reference of an object; `Counting` says how references are counted.
///
/// One pointer wide. Every change is an atomic exchange, so that one thread may replace a pointer while another
/// releases its own copy; a plain read is safe only while the reader holds a reference of its own.
template <class T, class Counting>
class BasicPtr
{
public:
    BasicPtr() noexcept = default;
    BasicPtr(std::nullptr_t) noexcept {}
    BasicPtr(T* object) noexcept : pointer(retained(object)) {}
    BasicPtr(const BasicPtr& other) noexcept : pointer(retained(other.get())) {}
    BasicPtr(BasicPtr&& other) noexcept : pointer(other.detach()) {}
    template <class U, std::enable_if_t<std::is_convertible_v<U*, T*>, int> = 0>
    BasicPtr(const BasicPtr<U, Counting>& other) noexcept : pointer(retained(static_cast<T*>(other.get())))
    {
    }
    template <class U, std::enable_if_t<std::is_convertible_v<U*, T*>, int> = 0>
    BasicPtr(BasicPtr<U, Counting>&& other) noexcept : pointer(other.detach())
    {
    }
    ~BasicPtr() { drop(get()); } // nobody else may use what is being destroyed, so no exchange

    BasicPtr& operator=(const BasicPtr& other) noexcept
    {
        drop(pointer.exchange(retained(other.get())));
        return *this;
    }
    BasicPtr& operator=(BasicPtr&& other) noexcept
    {
        drop(pointer.exchange(other.detach()));
        return *this;
    }

    /// Leaves null and gives up the reference.
    void release() noexcept { drop(detach()); }

    /// Leaves null and hands the reference to the caller.
    T* detach() noexcept { return pointer.exchange(nullptr); }

    // A plain read: what the object holds was made visible together with the reference that its reader owns.
    T* get() const noexcept { return pointer.load(std::memory_order_relaxed); }
    T* operator->() const noexcept { return get(); }
    T& operator*() const noexcept { return *get(); }
    explicit operator bool() const noexcept { return get() != nullptr; }

    friend bool operator==(const BasicPtr& a, const BasicPtr& b) noexcept { return a.get() == b.get(); }
    /// Without this a comparison would take and drop a reference of `b`, and free it if that was its only one.
    friend bool operator==(const BasicPtr& a, const T* b) noexcept { return a.get() == b; }
    friend bool operator==(const BasicPtr& a, std::nullptr_t) noexcept { return a.get() == nullptr; }

private:
    static T* retained(T* object) noexcept
    {
        if (object) Counting::retain(object);
        return object;
    }
    static void drop(T* object)
    {
        if (object) Counting::drop(object);
    }

    std::atomic<T*> pointer{nullptr};
};

/// Owns one reference of an object that derives from `SharedLite`.
template <class T, class Deleter = DefaultDeleter>
using Ptr = BasicPtr<T, SharedCounting<Deleter>>;
} // namespace zr
