// Reference counting and ObjectPtr.
#include "ff_object.h"

#include <gtest/gtest.h>

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

TEST(ObjectPtr, CopiesShareOneCountAndTheLastReleaseDeletesOnce) {
    int first = 0, second = 0;
    ICounted* raw = nullptr;
    {
        ObjectPtr<ICounted> a(new Counted(&first)), b(new Counted(&second));
        EXPECT_EQ(1, countOf(*a));
        ObjectPtr<IFFObject> base = a;  // converting copy
        const ObjectPtr<ICounted>& self = a;
        a = self;
        EXPECT_EQ(2, countOf(*a));
        base = ObjectPtr<IFFObject>();
        a = b;
        EXPECT_EQ(1, first);
        ObjectPtr<ICounted> moved(std::move(b));
        EXPECT_FALSE(b);
        EXPECT_EQ(a, moved);
        a.addRef();  // a raw pointer handed out keeps the object alive
        raw = a.get();
    }
    EXPECT_EQ(0, second);
    EXPECT_EQ(0, raw->release());
    EXPECT_EQ(1, second) << "the destructor ran before release returned";
}
