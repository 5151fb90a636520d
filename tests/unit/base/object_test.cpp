// Reference counting and ObjectPtr.
#include "ff_object.h"

#include <gtest/gtest.h>

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
