#pragma once

#include <atomic>

#include <zr/Ptr.h>

namespace zr
{
/// The base of interfaces whose count of references is managed through virtual calls.
class RefCounted
{
public:
    virtual void addReference() noexcept = 0;
    /// Gives up a reference; the last one ends the object.
    virtual void release() noexcept = 0;
    virtual u64 getReferenceCount() const noexcept = 0;

protected:
    RefCounted() = default;
    RefCounted(const RefCounted&) = default;
    RefCounted& operator=(const RefCounted&) = default;
    ~RefCounted() = default;
};

/// Implements `RefCounted` for the interface `Interface`; the count starts at 0 and is never copied.
template <class Interface>
class RefCountedImpl : public Interface
{
public:
    using Interface::Interface;
    RefCountedImpl() = default;
    RefCountedImpl(const RefCountedImpl& other) : Interface(other) {}
    RefCountedImpl& operator=(const RefCountedImpl& other)
    {
        Interface::operator=(other);
        return *this;
    }

    void addReference() noexcept final { count.fetch_add(1); }
    void release() noexcept final
    {
        if (count.fetch_sub(1) == 1) destroy();
    }
    u64 getReferenceCount() const noexcept final { return count.load(); }

    virtual ~RefCountedImpl() = default;

    /// Ends the object; a class whose storage isn't plain `new` overrides it.
    virtual void destroy() noexcept { delete this; }

private:
    std::atomic<u64> count{0};
};

/// Counts through the virtual operations of `RefCounted`.
struct VirtualCounting
{
    template <class T>
    static void retain(T* object) noexcept
    {
        object->addReference();
    }
    template <class T>
    static void drop(T* object) noexcept
    {
        object->release();
    }
};

/// Owns one reference of an object that derives from `RefCounted`.
template <class T>
using RefPtr = BasicPtr<T, VirtualCounting>;
} // namespace zr
