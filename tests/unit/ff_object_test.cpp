// Reference counting and ObjectPtr.
#include "ff_object.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace FF_2_13;

namespace {

class ICounted : public IFFObject {
public:
    virtual int value() const = 0;
};

class Counted : public RefCountImpl<ICounted> {
public:
    explicit Counted(int* deletions) : m_deletions(deletions) {}
    ~Counted() override { ++*m_deletions; }
    int value() const override { return 7; }

private:
    int* m_deletions;
};

}  // namespace

TEST(ObjectPtr, FreshObjectHasCountOneAndCopiesShareIt) {
    int deletions = 0;
    {
        ObjectPtr<ICounted> a(new Counted(&deletions));
        EXPECT_EQ(2, a->addRef());
        EXPECT_EQ(1, a->release());
        ObjectPtr<ICounted> b = a;
        EXPECT_EQ(3, b->addRef());
        EXPECT_EQ(2, b->release());
        EXPECT_EQ(7, (*b).value());
        EXPECT_EQ(a.get(), b.get());
        ObjectPtr<IFFObject> base = a;  // converting copy
        EXPECT_EQ(4, base->addRef());
        base->release();
    }
    EXPECT_EQ(1, deletions);
}

TEST(ObjectPtr, AssignmentReleasesTheOldObjectExceptWhenItIsTheSame) {
    int first = 0, second = 0;
    ObjectPtr<ICounted> a(new Counted(&first));
    ObjectPtr<ICounted> b(new Counted(&second));
    const ObjectPtr<ICounted>& self = a;
    a = self;
    EXPECT_EQ(2, a->addRef());
    a->release();
    a = b;
    EXPECT_EQ(1, first);
    ObjectPtr<ICounted> moved(std::move(b));
    EXPECT_FALSE(b);
    EXPECT_EQ(a, moved);
    a = moved = ObjectPtr<ICounted>();
    EXPECT_EQ(nullptr, a.get());
    EXPECT_EQ(1, second);
}

TEST(ObjectPtr, AddRefKeepsAHandedOutRawPointerAlive) {
    int deletions = 0;
    ICounted* raw = nullptr;
    {
        ObjectPtr<ICounted> a(new Counted(&deletions));
        a.addRef();
        raw = a.get();
    }
    EXPECT_EQ(0, deletions);
    EXPECT_EQ(0, raw->release());
    EXPECT_EQ(1, deletions);
}

TEST(RefCount, ReleaseReturnsZeroAfterTheDestructorRan) {
    int deletions = 0;
    ICounted* raw = new Counted(&deletions);
    EXPECT_EQ(1, raw->addRef());
    EXPECT_EQ(0, raw->release());
    EXPECT_EQ(1, deletions);
}

TEST(RefCount, ConcurrentAddAndReleaseDeleteExactlyOnce) {
    int deletions = 0;
    {
        ObjectPtr<ICounted> shared(new Counted(&deletions));
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&shared] {
                for (int i = 0; i < 20000; ++i) {
                    ObjectPtr<ICounted> copy = shared;
                    copy->addRef();
                    copy->release();
                }
            });
        }
        for (std::thread& t : threads) t.join();
        EXPECT_EQ(0, deletions);
        EXPECT_EQ(2, shared->addRef());
        shared->release();
    }
    EXPECT_EQ(1, deletions);
}
