#include <zr/Ptr.h>
#include <zr/RefCounted.h>

#include <functional>
#include <thread>

#include <gtest/gtest.h>

namespace
{
std::atomic<int> alive{0};

template <class Base>
struct Thing : Base
{
    Thing() { ++alive; }
    Thing(const Thing& other) : Base(other) { ++alive; }
    ~Thing() { --alive; }

    int payload = 0;
};
template <class Object>
using PtrTo = std::conditional_t<std::is_base_of_v<zr::Shared, Object>, zr::Ptr<Object>, zr::RefPtr<Object>>;

template <class Object>
class CountingPointer : public testing::Test
{
};
using Objects = testing::Types<Thing<zr::Shared>, Thing<zr::RefCountedImpl<zr::RefCounted>>>;
TYPED_TEST_SUITE(CountingPointer, Objects);

TYPED_TEST(CountingPointer, CountsItsOwners)
{
    auto* object = new TypeParam;
    PtrTo<TypeParam> a(object), b = a;
    EXPECT_EQ(object->getReferenceCount(), 2u);
    PtrTo<TypeParam> c = std::move(b);
    PtrTo<TypeParam>& same = a; // by another name, since compilers warn of a plain assignment to itself
    a = same;
    a = std::move(same);
    EXPECT_TRUE(b == nullptr && a == object && c == a); // NOLINT: moved-from is null
    EXPECT_EQ(object->getReferenceCount(), 2u) << "neither a comparison nor an assignment to itself counts";
    c = PtrTo<TypeParam>(new TypeParam(*object));
    EXPECT_EQ(c->getReferenceCount(), 1u) << "a copy of an object starts uncounted";
    a.release();
    a.release();
    EXPECT_EQ(alive, 1);
    const TypeParam* loose = c.detach();
    EXPECT_EQ(loose->getReferenceCount(), 1u) << "the reference is the caller's";
    delete loose;
    EXPECT_EQ(alive, 0);
}

// For the thread sanitizer too: what one thread wrote into an object is there for the thread that frees it.
TYPED_TEST(CountingPointer, TwoThreadsReplaceOneAnothersObjects)
{
    PtrTo<TypeParam> shared, common(new TypeParam);
    const auto work = [&shared, own = common]
    {
        for (int i = 0; i < 20000; ++i)
        {
            PtrTo<TypeParam> fresh(new TypeParam), copy = own;
            fresh->payload = i;
            shared = fresh;
            shared = std::move(copy);
            const PtrTo<TypeParam> taken = std::move(shared);
            shared = std::move(fresh);
        }
    };
    std::jthread other(std::ref(work));
    work();
    other.join();
    shared.release();
    EXPECT_TRUE(common->getReferenceCount() == 2 && alive == 1) << "`work` holds the other";
}
} // namespace
