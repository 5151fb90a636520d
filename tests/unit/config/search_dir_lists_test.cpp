// Search directory containers: per-category lists without duplicates, flag merging, snapshot
// iterators, and chains.
#include "config/search_dir_lists.h"

#include <gtest/gtest.h>

#include "callback_doubles.h"

using namespace FF_2_13;

namespace {

// "name RH" (recursive, high priority) for each binaries directory of `dirs`.
std::vector<std::string> binaries(const ISearchDirContainer& dirs) {
    std::vector<std::string> out;
    for (const auto& [category, name, recursive, high] :
         fftest::records(dirs.enumerate(scBinaryFiles)))
        out.push_back(name + " " + (recursive ? "R" : "-") + (high ? "H" : "-"));
    return out;
}
using Names = std::vector<std::string>;

ObjectPtr<IEditableSearchDirContainer> binaryDirs(std::initializer_list<const char*> names,
                                                  bool recursive = false) {
    ObjectPtr<IEditableSearchDirContainer> c = IEditableSearchDirContainer::create();
    for (const char* name : names) c->addDirectory(scBinaryFiles, name, recursive, false);
    return c;
}

}  // namespace

TEST(SearchDirContainer, KeepsOneEntryPerCanonicalNameInFirstPlaceWithTheFlagsOred) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(0), "/x", false, false));
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(5), "/x", false, false));
    EXPECT_FALSE(dirs->clear(static_cast<search_category_t>(-1)));
    EXPECT_FALSE(dirs->enumerate(scSymbolFiles));  // no list yet, and after clear an empty one
    EXPECT_TRUE(dirs->clear(scSymbolFiles));
    ASSERT_TRUE(dirs->enumerate(scSymbolFiles));
    EXPECT_TRUE(fftest::records(dirs->enumerate(scSymbolFiles)).empty());

    const std::tuple<const char*, bool, bool> added[] = {
        {"/a", false, true},     {"/b", false, false},      {"/a/", true, false},
        {"/a//.", false, false}, {"/opt//x", false, false}, {"/opt/x/", false, true}};
    for (const auto& [name, recursive, high] : added)
        EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, name, recursive, high));
    EXPECT_EQ((Names{"/a RH", "/b --", "/opt//x -H"}), binaries(*dirs));
    EXPECT_FALSE(dirs->enumerate(scSourceFiles));
    // Clearing empties the index too; a null name is ignored, an empty one is stored.
    dirs->clear(scBinaryFiles);
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, nullptr, true, true));
    dirs->addDirectory(scBinaryFiles, "", false, false);
    dirs->addDirectory(scBinaryFiles, "/a/", false, false);
    EXPECT_EQ((Names{" --", "/a/ --"}), binaries(*dirs));
}

TEST(SearchDirIterator, IsASnapshotAndStaysAtTheEndOnceThere) {
    ObjectPtr<IEditableSearchDirContainer> dirs = binaryDirs({"/a"});
    ObjectPtr<ISearchDirIterator> before = dirs->enumerate(scBinaryFiles);
    dirs->addDirectory(scBinaryFiles, "/b", false, false);
    dirs->addDirectory(scBinaryFiles, "/a", true, false);  // widens a flag: a change too
    ObjectPtr<ISearchDirIterator> after = dirs->enumerate(scBinaryFiles);
    dirs->clear(scBinaryFiles);
    EXPECT_EQ(Names{"/a"}, fftest::dirNames(before));
    EXPECT_EQ(2u, fftest::records(after).size());
    const char* name = "untouched";
    bool recursive, high;
    after->reset();
    EXPECT_TRUE(after->next());
    EXPECT_FALSE(after->next());
    EXPECT_FALSE(after->getCurrentRecord(name, recursive, high));
    EXPECT_FALSE(after->next());
    EXPECT_STREQ("untouched", name);
}

// A chain keeps its last merge while no member changed: every change since, in a member or
// in a chain inside it, must show in the next merge.
TEST(SearchDirChain, MergesInOrderOrsLaterDuplicatesAndSeesEveryChangeOfItsMembers) {
    ObjectPtr<ISearchDirChain> chain = ISearchDirChain::create(), inner = ISearchDirChain::create();
    EXPECT_FALSE(chain->addItem(ObjectPtr<ISearchDirContainer>()));
    EXPECT_FALSE(chain->enumerate(scBinaryFiles));
    ObjectPtr<IEditableSearchDirContainer> first = binaryDirs({"/x", "/y"}),
                                           second = binaryDirs({"/y/"}, true);
    chain->addItem(first);
    chain->addItem(inner);
    inner->addItem(second);
    EXPECT_EQ((Names{"/x --", "/y R-"}), binaries(*chain));
    EXPECT_EQ((Names{"/x --", "/y R-"}), binaries(*chain));
    second->addDirectory(scBinaryFiles, "/z", false, true);
    second->addDirectory(scAllFiles, "/all", false, false);  // not mixed in
    EXPECT_EQ((Names{"/x --", "/y R-", "/z -H"}), binaries(*chain));
    first->clear(scBinaryFiles);
    EXPECT_EQ((Names{"/y/ R-", "/z -H"}), binaries(*chain));
    second->addDirectory(scBinaryFiles, "/z", true, false);  // a flag gained, no new entry
    EXPECT_EQ((Names{"/y/ R-", "/z RH"}), binaries(*chain));
    EXPECT_EQ(Names{"/all"}, fftest::dirNames(chain->enumerate(scAllFiles)));
    first->clear(scSourceFiles);
    EXPECT_FALSE(chain->enumerate(scSourceFiles));  // an empty list is no directory
}

// A member that merges the chain it belongs to again; it holds the chain by a raw pointer,
// as a reference would make a cycle that counting never frees.
class MergesChainAgain : public RefCountImpl<ISearchDirContainer> {
public:
    ObjectPtr<ISearchDirIterator> enumerate(search_category_t category) const override {
        ++calls;
        return chain->enumerate(category);
    }
    ISearchDirChain* chain = nullptr;
    mutable int calls = 0;
};

TEST(SearchDirChain, ReachedAgainWhileMergingAddsNothingTwiceAndDoesNotRecurse) {
    ObjectPtr<ISearchDirChain> outer = ISearchDirChain::create(), inner = ISearchDirChain::create();
    auto* again = new MergesChainAgain();
    again->chain = outer.get();
    outer->addItem(binaryDirs({"/a"}));
    outer->addItem(inner);
    inner->addItem(ObjectPtr<ISearchDirContainer>(again));
    inner->addItem(binaryDirs({"/b"}, true));
    EXPECT_EQ((Names{"/a --", "/b R-"}), binaries(*outer));
    EXPECT_EQ(1, again->calls);
    // Merged from the inner chain, the outer one is not being merged: it adds its own.
    EXPECT_EQ((Names{"/a --", "/b R-"}), binaries(*inner));
}
