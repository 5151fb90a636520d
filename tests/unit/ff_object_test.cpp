// Reference counting and ObjectPtr.
#include "ff_object.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

using namespace FF_2_13;

namespace {

class ICounted : public IFFObject {};

class Counted : public RefCountImpl<ICounted> {
public:
    explicit Counted(int* deletions) : m_deletions(deletions) {}
    ~Counted() override { ++*m_deletions; }

private:
    int* m_deletions;
};

// The count as it stands, read through a balanced addRef/release pair.
int countOf(IFFObject& object) {
    object.addRef();
    return object.release();
}

}  // namespace

TEST(ObjectPtr, FreshObjectHasCountOneAndCopiesShareIt) {
    int deletions = 0;
    {
        ObjectPtr<ICounted> a(new Counted(&deletions));
        EXPECT_EQ(1, countOf(*a));
        ObjectPtr<ICounted> b = a;
        ObjectPtr<IFFObject> base = b;  // converting copy
        EXPECT_EQ(3, countOf(*base));
        EXPECT_EQ(a.get(), &*b);
    }
    EXPECT_EQ(1, deletions);
}

TEST(ObjectPtr, AssignmentReleasesTheOldObjectExceptWhenItIsTheSame) {
    int first = 0, second = 0;
    ObjectPtr<ICounted> a(new Counted(&first));
    ObjectPtr<ICounted> b(new Counted(&second));
    const ObjectPtr<ICounted>& self = a;
    a = self;
    EXPECT_EQ(1, countOf(*a));
    a = b;
    EXPECT_EQ(1, first);
    ObjectPtr<ICounted> moved(std::move(b));
    EXPECT_FALSE(b);
    EXPECT_EQ(a, moved);
    a = moved = ObjectPtr<ICounted>();
    EXPECT_EQ(nullptr, a.get());
    EXPECT_EQ(1, second);
}

TEST(ObjectPtr, AddRefKeepsAHandedOutRawPointerAliveUntilItsRelease) {
    int deletions = 0;
    ICounted* raw = nullptr;
    {
        ObjectPtr<ICounted> a(new Counted(&deletions));
        a.addRef();
        raw = a.get();
    }
    EXPECT_EQ(0, deletions);
    EXPECT_EQ(0, raw->release());
    EXPECT_EQ(1, deletions) << "the destructor ran before release returned";
}

TEST(RefCount, ConcurrentAddAndReleaseDeleteExactlyOnce) {
    int deletions = 0;
    {
        ObjectPtr<ICounted> shared(new Counted(&deletions));
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([&shared] {
                for (int i = 0; i < 20000; ++i) ObjectPtr<ICounted> copy = shared;
            });
        }
        for (std::thread& t : threads) t.join();
        EXPECT_EQ(0, deletions);
        EXPECT_EQ(1, countOf(*shared));
    }
    EXPECT_EQ(1, deletions);
}
