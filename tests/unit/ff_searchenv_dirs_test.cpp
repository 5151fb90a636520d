// Search directory containers: per-category lists without duplicates, flag merging,
// snapshot iterators, and chains.
#include "ff_searchenv_dirs.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace FF_2_13;

namespace {

struct Record {
    std::string name;
    bool recursive;
    bool high;
    bool operator==(const Record& o) const {
        return name == o.name && recursive == o.recursive && high == o.high;
    }
};

std::ostream& operator<<(std::ostream& out, const Record& r) {
    return out << "{" << r.name << (r.recursive ? " R" : "") << (r.high ? " H" : "") << "}";
}

std::vector<Record> records(const ObjectPtr<ISearchDirIterator>& it) {
    std::vector<Record> out;
    const char* name;
    bool recursive, high;
    for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next())
        out.push_back({name, recursive, high});
    return out;
}

ObjectPtr<IEditableSearchDirContainer> containerOf(search_category_t category,
                                                   const std::vector<Record>& dirs) {
    ObjectPtr<IEditableSearchDirContainer> c = IEditableSearchDirContainer::create();
    for (const Record& d : dirs) c->addDirectory(category, d.name.c_str(), d.recursive, d.high);
    return c;
}

}  // namespace

TEST(SearchDirContainer, RefusesCategoriesOutsideOneToFour) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(0), "/x", false, false));
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(5), "/x", false, false));
    EXPECT_FALSE(dirs->clear(static_cast<search_category_t>(-1)));
    EXPECT_FALSE(dirs->enumerate(static_cast<search_category_t>(0)));
    EXPECT_TRUE(dirs->addDirectory(scAllFiles, "/x", false, false));
}

TEST(SearchDirContainer, CategoryWithoutListGivesNullAndClearMakesAnEmptyOne) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    EXPECT_FALSE(dirs->enumerate(scSymbolFiles));
    EXPECT_TRUE(dirs->clear(scSymbolFiles));
    ObjectPtr<ISearchDirIterator> it = dirs->enumerate(scSymbolFiles);
    ASSERT_TRUE(it);
    const char* name = "untouched";
    bool recursive = true, high = true;
    it->reset();
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
    EXPECT_EQ(
        (std::vector<Record>{{"/a", true, true}, {"/b", false, false}, {"/opt//x", false, true}}),
        records(dirs->enumerate(scBinaryFiles)));
    // Each category is a list of its own.
    EXPECT_FALSE(dirs->enumerate(scSourceFiles));
}

TEST(SearchDirContainer, NullNameIsIgnoredEmptyNameIsStoredAndClearEmptiesTheIndex) {
    ObjectPtr<IEditableSearchDirContainer> dirs =
        containerOf(scSourceFiles, {{"/a", true, true}, {"/b", false, false}});
    dirs->clear(scSourceFiles);
    EXPECT_TRUE(dirs->addDirectory(scSourceFiles, nullptr, true, true));
    EXPECT_TRUE(dirs->addDirectory(scSourceFiles, "", false, false));
    dirs->addDirectory(scSourceFiles, "/a/", false, false);  // no longer a duplicate
    EXPECT_EQ((std::vector<Record>{{"", false, false}, {"/a/", false, false}}),
              records(dirs->enumerate(scSourceFiles)));
}

TEST(SearchDirIterator, IsASnapshotOfTheListWhenMade) {
    ObjectPtr<IEditableSearchDirContainer> dirs =
        containerOf(scBinaryFiles, {{"/a", false, false}});
    ObjectPtr<ISearchDirIterator> before = dirs->enumerate(scBinaryFiles);
    dirs->addDirectory(scBinaryFiles, "/b", false, false);
    dirs->addDirectory(scBinaryFiles, "/a", true, false);  // widens a flag: a change too
    ObjectPtr<ISearchDirIterator> after = dirs->enumerate(scBinaryFiles);
    dirs->clear(scBinaryFiles);
    EXPECT_EQ((std::vector<Record>{{"/a", false, false}}), records(before));
    EXPECT_EQ((std::vector<Record>{{"/a", true, false}, {"/b", false, false}}), records(after));
}

TEST(SearchDirIterator, NextOntoTheEndIsFalseAndStaysThere) {
    ObjectPtr<ISearchDirIterator> it =
        containerOf(scBinaryFiles, {{"/a", false, false}, {"/b", false, false}})
            ->enumerate(scBinaryFiles);
    const char* name;
    bool recursive, high;
    ASSERT_TRUE(it->getCurrentRecord(name, recursive, high));  // stands on the first
    EXPECT_STREQ("/a", name);
    EXPECT_TRUE(it->next());
    EXPECT_FALSE(it->next());
    EXPECT_FALSE(it->getCurrentRecord(name, recursive, high));
    EXPECT_FALSE(it->next());
    it->reset();
    ASSERT_TRUE(it->getCurrentRecord(name, recursive, high));
    EXPECT_STREQ("/a", name);
}

TEST(SearchDirContainer, ConcurrentWritersLoseNothingAndNeverDuplicate) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&dirs, t] {
            for (int i = 0; i < 200; ++i) {
                // Every thread adds every directory, in its own spelling.
                std::string name = "/d" + std::to_string(i) + (t % 2 ? "/" : "");
                dirs->addDirectory(scSymbolFiles, name.c_str(), t == 3, false);
                dirs->enumerate(scSymbolFiles);
            }
        });
    for (std::thread& t : threads) t.join();
    std::vector<Record> all = records(dirs->enumerate(scSymbolFiles));
    ASSERT_EQ(200u, all.size());
    for (const Record& r : all) EXPECT_TRUE(r.recursive) << r;
}

TEST(SearchDirChain, MergesInOrderAndOrsTheFlagsOfLaterDuplicates) {
    ObjectPtr<ISearchDirChain> chain = ISearchDirChain::create();
    EXPECT_TRUE(
        chain->addItem(containerOf(scSymbolFiles, {{"/x", false, false}, {"/y", false, false}})));
    EXPECT_TRUE(
        chain->addItem(containerOf(scSymbolFiles, {{"/y/", true, false}, {"/z", false, true}})));
    EXPECT_EQ((std::vector<Record>{{"/x", false, false}, {"/y", true, false}, {"/z", false, true}}),
              records(chain->enumerate(scSymbolFiles)));
}

TEST(SearchDirChain, KeepsCategoriesApartAndIsEmptyWithoutDirectories) {
    ObjectPtr<ISearchDirChain> chain = ISearchDirChain::create();
    EXPECT_FALSE(chain->addItem(ObjectPtr<ISearchDirContainer>()));
    EXPECT_FALSE(chain->enumerate(scBinaryFiles));
    chain->addItem(containerOf(scAllFiles, {{"/all", false, false}}));
    ObjectPtr<IEditableSearchDirContainer> cleared = IEditableSearchDirContainer::create();
    cleared->clear(scBinaryFiles);
    chain->addItem(cleared);
    EXPECT_FALSE(chain->enumerate(scBinaryFiles));  // scAllFiles is not mixed in
    EXPECT_EQ((std::vector<Record>{{"/all", false, false}}), records(chain->enumerate(scAllFiles)));
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
    EXPECT_EQ((std::vector<Record>{{"/a", false, false}}),
              records(chain->enumerate(scBinaryFiles)));
    EXPECT_EQ((std::vector<Record>{{"/a", false, false}}),
              records(chain->enumerate(scBinaryFiles)));

    second->addDirectory(scBinaryFiles, "/b", false, false);
    EXPECT_EQ((std::vector<Record>{{"/a", false, false}, {"/b", false, false}}),
              records(chain->enumerate(scBinaryFiles)));
    first->addDirectory(scBinaryFiles, "/b/", true, false);  // widens /b through the first
    EXPECT_EQ((std::vector<Record>{{"/a", false, false}, {"/b/", true, false}}),
              records(chain->enumerate(scBinaryFiles)));
    first->clear(scBinaryFiles);
    EXPECT_EQ((std::vector<Record>{{"/b", false, false}}),
              records(chain->enumerate(scBinaryFiles)));
    second->addDirectory(scBinaryFiles, "/b", false, true);  // a flag gained, no new entry
    EXPECT_EQ((std::vector<Record>{{"/b", false, true}}), records(chain->enumerate(scBinaryFiles)));
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
    EXPECT_EQ((std::vector<Record>{{"/a", false, false}, {"/b", true, false}}),
              records(outer->enumerate(scBinaryFiles)));
    EXPECT_EQ(1, again->calls);
    // Merged from the inner chain, the outer one is not being merged: it adds its own.
    EXPECT_EQ((std::vector<Record>{{"/a", false, false}, {"/b", true, false}}),
              records(inner->enumerate(scBinaryFiles)));
}
