// Search directory containers: per-category lists without duplicates, flag merging,
// snapshot iterators, and chains.
#include "config/search_dir_lists.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

using namespace FF_2_13;

namespace {

// Name, recursive, high priority.
using Record = std::tuple<std::string, bool, bool>;
using Records = std::vector<Record>;

Records records(const ObjectPtr<ISearchDirIterator>& it) {
    Records out;
    const char* name;
    bool recursive, high;
    for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
        out.emplace_back(name, recursive, high);
    return out;
}

Records binaries(const ISearchDirContainer& dirs) {
    return records(dirs.enumerate(scBinaryFiles));
}

ObjectPtr<IEditableSearchDirContainer> containerOf(search_category_t category,
                                                   const Records& dirs) {
    ObjectPtr<IEditableSearchDirContainer> c = IEditableSearchDirContainer::create();
    for (const auto& [name, recursive, high] : dirs)
        c->addDirectory(category, name.c_str(), recursive, high);
    return c;
}

}  // namespace

TEST(SearchDirContainer, RefusesCategoriesOutsideOneToFourAndClearMakesAnEmptyList) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(0), "/x", false, false));
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(5), "/x", false, false));
    EXPECT_FALSE(dirs->clear(static_cast<search_category_t>(-1)));
    EXPECT_FALSE(dirs->enumerate(static_cast<search_category_t>(0)));
    EXPECT_FALSE(dirs->enumerate(scSymbolFiles));  // no list yet
    EXPECT_TRUE(dirs->clear(scSymbolFiles));
    ObjectPtr<ISearchDirIterator> it = dirs->enumerate(scSymbolFiles);
    ASSERT_TRUE(it);
    const char* name = "untouched";
    bool recursive = true, high = true;
    EXPECT_FALSE(it->getCurrentRecord(name, recursive, high));
    EXPECT_STREQ("untouched", name);
}

TEST(SearchDirContainer, DuplicatesAfterCanonicalisationKeepFirstPlaceAndOrTheirFlags) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, "/a", false, true));
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, "/b", false, false));
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, "/a/", true, false));  // duplicate: true
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, "/a//.", false, false));
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, "/opt//x", false, false));
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, "/opt/x/", false, true));
    EXPECT_EQ((Records{{"/a", true, true}, {"/b", false, false}, {"/opt//x", false, true}}),
              binaries(*dirs));
    EXPECT_FALSE(dirs->enumerate(scSourceFiles));  // each category is a list of its own

    // Clearing empties the index too; a null name is ignored, an empty one is stored.
    dirs->clear(scBinaryFiles);
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, nullptr, true, true));
    EXPECT_TRUE(dirs->addDirectory(scBinaryFiles, "", false, false));
    dirs->addDirectory(scBinaryFiles, "/a/", false, false);  // no longer a duplicate
    EXPECT_EQ((Records{{"", false, false}, {"/a/", false, false}}), binaries(*dirs));
}

TEST(SearchDirIterator, IsASnapshotAndStaysAtTheEndOnceThere) {
    ObjectPtr<IEditableSearchDirContainer> dirs =
        containerOf(scBinaryFiles, {{"/a", false, false}});
    ObjectPtr<ISearchDirIterator> before = dirs->enumerate(scBinaryFiles);
    dirs->addDirectory(scBinaryFiles, "/b", false, false);
    dirs->addDirectory(scBinaryFiles, "/a", true, false);  // widens a flag: a change too
    ObjectPtr<ISearchDirIterator> after = dirs->enumerate(scBinaryFiles);
    dirs->clear(scBinaryFiles);
    EXPECT_EQ((Records{{"/a", false, false}}), records(before));
    EXPECT_EQ((Records{{"/a", true, false}, {"/b", false, false}}), records(after));

    const char* name;
    bool recursive, high;
    after->reset();
    EXPECT_TRUE(after->next());
    EXPECT_FALSE(after->next());
    EXPECT_FALSE(after->getCurrentRecord(name, recursive, high));
    EXPECT_FALSE(after->next());
    after->reset();
    ASSERT_TRUE(after->getCurrentRecord(name, recursive, high));
    EXPECT_STREQ("/a", name);
}

TEST(SearchDirChain, MergesInOrderOrsTheFlagsOfLaterDuplicatesAndKeepsCategoriesApart) {
    ObjectPtr<ISearchDirChain> chain = ISearchDirChain::create();
    EXPECT_FALSE(chain->addItem(ObjectPtr<ISearchDirContainer>()));
    EXPECT_FALSE(chain->enumerate(scBinaryFiles));
    EXPECT_TRUE(
        chain->addItem(containerOf(scBinaryFiles, {{"/x", false, false}, {"/y", false, false}})));
    EXPECT_TRUE(
        chain->addItem(containerOf(scBinaryFiles, {{"/y/", true, false}, {"/z", false, true}})));
    chain->addItem(containerOf(scAllFiles, {{"/all", false, false}}));
    EXPECT_EQ((Records{{"/x", false, false}, {"/y", true, false}, {"/z", false, true}}),
              binaries(*chain));  // scAllFiles is not mixed in
    EXPECT_EQ((Records{{"/all", false, false}}), records(chain->enumerate(scAllFiles)));
    ObjectPtr<IEditableSearchDirContainer> cleared = IEditableSearchDirContainer::create();
    cleared->clear(scSourceFiles);
    chain->addItem(cleared);
    EXPECT_FALSE(chain->enumerate(scSourceFiles));  // an empty list is no directory
}

// A chain keeps its last merge while no member changed: every change since, in a member
// or in a chain inside it, must show in the next merge.
TEST(SearchDirChain, SeesEveryChangeOfItsMembersSinceTheLastMerge) {
    ObjectPtr<IEditableSearchDirContainer> first =
        containerOf(scBinaryFiles, {{"/a", false, false}});
    ObjectPtr<IEditableSearchDirContainer> second = IEditableSearchDirContainer::create();
    ObjectPtr<ISearchDirChain> inner = ISearchDirChain::create();
    inner->addItem(second);
    ObjectPtr<ISearchDirChain> chain = ISearchDirChain::create();
    chain->addItem(first);
    chain->addItem(inner);
    EXPECT_EQ((Records{{"/a", false, false}}), binaries(*chain));
    EXPECT_EQ((Records{{"/a", false, false}}), binaries(*chain));

    second->addDirectory(scBinaryFiles, "/b", false, false);
    EXPECT_EQ((Records{{"/a", false, false}, {"/b", false, false}}), binaries(*chain));
    first->addDirectory(scBinaryFiles, "/b/", true, false);  // widens /b through the first
    EXPECT_EQ((Records{{"/a", false, false}, {"/b/", true, false}}), binaries(*chain));
    first->clear(scBinaryFiles);
    EXPECT_EQ((Records{{"/b", false, false}}), binaries(*chain));
    second->addDirectory(scBinaryFiles, "/b", false, true);  // a flag gained, no new entry
    EXPECT_EQ((Records{{"/b", false, true}}), binaries(*chain));
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
    ObjectPtr<ISearchDirChain> outer = ISearchDirChain::create();
    ObjectPtr<ISearchDirChain> inner = ISearchDirChain::create();
    auto* again = new MergesChainAgain();
    again->chain = outer.get();
    outer->addItem(containerOf(scBinaryFiles, {{"/a", false, false}}));
    outer->addItem(inner);
    inner->addItem(ObjectPtr<ISearchDirContainer>(again));
    inner->addItem(containerOf(scBinaryFiles, {{"/b", true, false}}));
    EXPECT_EQ((Records{{"/a", false, false}, {"/b", true, false}}), binaries(*outer));
    EXPECT_EQ(1, again->calls);
    // Merged from the inner chain, the outer one is not being merged: it adds its own.
    EXPECT_EQ((Records{{"/a", false, false}, {"/b", true, false}}), binaries(*inner));
}
