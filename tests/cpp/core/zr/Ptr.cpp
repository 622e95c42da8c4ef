#include <zr/Ptr.h>
#include <zr/RefCounted.h>

#include <thread>
#include <utility>

#include <gtest/gtest.h>

namespace
{
std::atomic<int> alive{0};

struct Thing : zr::Shared
{
    Thing() { ++alive; }
    ~Thing() override { --alive; }

    int payload = 0;
};
struct Special : Thing
{
};

TEST(Ptr, CountsItsOwners)
{
    zr::Ptr<Thing> a(new Thing);
    EXPECT_EQ(a->getReferenceCount(), 1u);
    zr::Ptr<Thing> b = a;
    EXPECT_EQ(a->getReferenceCount(), 2u);
    zr::Ptr<Thing> c = std::move(b);
    EXPECT_EQ(b, nullptr); // NOLINT: moved-from is null
    EXPECT_EQ(a->getReferenceCount(), 2u);
    zr::Ptr<Thing>& same = a; // by another name, since compilers warn of a plain assignment to itself
    a = same;
    EXPECT_EQ(a->getReferenceCount(), 2u);
    a = std::move(same);
    EXPECT_EQ(c->getReferenceCount(), 2u);
    c = zr::Ptr<Special>(new Special);
    EXPECT_EQ(alive, 2);
    a.release();
    a.release();
    EXPECT_EQ(alive, 1);
    Thing* loose = c.detach();
    EXPECT_EQ(loose->getReferenceCount(), 1u);
    c = loose;
    EXPECT_EQ(loose->getReferenceCount(), 2u);
    loose->dropReference();
    c = nullptr;
    EXPECT_EQ(alive, 0);
}

TEST(Ptr, ComparisonWithAnObjectTakesNoReference)
{
    auto* unowned = new Thing;
    zr::Ptr<Thing> other(new Thing);
    EXPECT_FALSE(other == unowned);
    EXPECT_EQ(unowned->getReferenceCount(), 0u);
    zr::Ptr<Thing> owner(unowned);
    EXPECT_TRUE(owner == unowned);
}

TEST(Ptr, CopiesOfAnObjectStartUncounted)
{
    zr::Ptr<Thing> a(new Thing);
    ++alive;
    zr::Ptr<Thing> b(new Thing(*a));
    EXPECT_EQ(b->getReferenceCount(), 1u);
    *b = *a;
    EXPECT_EQ(b->getReferenceCount(), 1u);
}

// For the thread sanitizer too: what one thread wrote into an object is there for the thread that frees it.
TEST(Ptr, TwoThreadsReplaceOneAnothersObjects)
{
    alive = 0;
    zr::Ptr<Thing> shared;
    zr::Ptr<Thing> common(new Thing);
    const auto work = [&shared, own = common]
    {
        for (int i = 0; i < 20000; ++i)
        {
            zr::Ptr<Thing> fresh(new Thing);
            fresh->payload = i;
            shared = fresh;
            zr::Ptr<Thing> copy = own;
            shared = std::move(copy);
            zr::Ptr<Thing> taken = std::move(shared);
            shared = std::move(fresh);
        }
    };
    {
        std::jthread first(work);
        std::jthread second(work);
    }
    shared.release();
    EXPECT_EQ(common->getReferenceCount(), 2u); // `work` holds the other
    EXPECT_EQ(alive, 1);
}

struct IResource : zr::RefCounted
{
    virtual int value() const = 0;
};
struct Resource : zr::RefCountedImpl<IResource>
{
    static inline int destroyed = 0;
    int value() const override { return 5; }
    void destroy() noexcept override
    {
        ++destroyed;
        RefCountedImpl::destroy();
    }
};

TEST(RefCounted, TheLastReleaseDestroysOnce)
{
    Resource::destroyed = 0;
    zr::RefPtr<IResource> a = zr::RefPtr<Resource>(new Resource);
    zr::RefPtr<IResource> b = a;
    EXPECT_EQ(b->getReferenceCount(), 2u);
    a = std::move(b);
    EXPECT_EQ(a->getReferenceCount(), 1u);
    EXPECT_EQ(a->value(), 5);
    EXPECT_EQ(Resource::destroyed, 0);
    a.release();
    b.release();
    EXPECT_EQ(Resource::destroyed, 1);
}
} // namespace
