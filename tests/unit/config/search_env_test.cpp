// The search environment record and the captured snapshot of an environment's search
// directories. (Captures made and released while searches walk them are the stress
// program's, under ThreadSanitizer.)
#include "ff_searchenv.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "callback_doubles.h"

using namespace FF_2_13;

namespace {

using fftest::dirNames;

ObjectPtr<IEditableSearchEnv> envWith(const ObjectPtr<ISearchDirContainer>& dirs) {
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setSearchDirs(dirs);
    return env;
}

}  // namespace

TEST(SearchEnv, DirsGiveFreshIteratorsAndANullCacheDirKeepsTheEarlierOne) {
    ObjectPtr<IEditableSearchDirContainer> search = IEditableSearchDirContainer::create();
    search->addDirectory(scBinaryFiles, "/s", false, false);
    ObjectPtr<IEditableSearchEnv> env = envWith(search);
    env->setCacheDir("/var/cache/x");
    env->setCacheDir(nullptr);
    EXPECT_STREQ("/var/cache/x", env->cacheDir());

    ObjectPtr<ISearchDirIterator> first = env->searchDirs(scBinaryFiles);
    ObjectPtr<ISearchDirIterator> second = env->searchDirs(scBinaryFiles);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
    first->next();  // moving one leaves the other where it was
    EXPECT_EQ((std::vector<std::string>{"/s"}), dirNames(second));
}

TEST(CapturedSearchDirs, IsFrozenAtCaptureAndGivesOneThreadItsIteratorBack) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, "/a", false, false);
    dirs->addDirectory(scBinaryFiles, "/b", false, false);
    ObjectPtr<ICapturedSearchDirs> captured = ICapturedSearchDirs::create(envWith(dirs));
    dirs->addDirectory(scBinaryFiles, "/later", false, false);
    dirs->addDirectory(scSymbolFiles, "/sym", false, false);
    EXPECT_FALSE(captured->enumerate(scSymbolFiles));
    EXPECT_FALSE(captured->enumerate(static_cast<search_category_t>(9)));
    EXPECT_FALSE(ICapturedSearchDirs::create(ObjectPtr<ISearchEnv>())->enumerate(scBinaryFiles));

    ObjectPtr<ISearchDirIterator> first = captured->enumerate(scBinaryFiles);
    first->next();
    ObjectPtr<ISearchDirIterator> second = captured->enumerate(scBinaryFiles);
    EXPECT_EQ(first, second);  // still on "/b"
    EXPECT_EQ((std::vector<std::string>{"/a", "/b"}), dirNames(second));

    // Through an environment whose container is the snapshot, as a search reads it.
    EXPECT_EQ(first, envWith(captured)->searchDirs(scBinaryFiles));
}

// Regression: with one iterator for all threads, a search on another thread that resets
// and walks the shared cursor made a walk in progress skip the rest of its directories.
TEST(CapturedSearchDirs, WalksOnTwoThreadsDoNotDisturbEachOther) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    for (const char* d : {"/1", "/2", "/3"}) dirs->addDirectory(scSourceFiles, d, false, false);
    ObjectPtr<ICapturedSearchDirs> captured = ICapturedSearchDirs::create(envWith(dirs));
    const std::vector<std::string> all = {"/1", "/2", "/3"};

    ObjectPtr<ISearchDirIterator> mine = captured->enumerate(scSourceFiles);
    mine->reset();  // stands on "/1"
    ObjectPtr<ISearchDirIterator> other;
    std::vector<std::string> otherWalk;
    // This thread stays alive meanwhile, so the other one has an id of its own.
    std::thread([&] {
        other = captured->enumerate(scSourceFiles);
        otherWalk = dirNames(other);
        other->next();  // leaves its own cursor at the end
    }).join();
    std::vector<std::string> myWalk;
    const char* name;
    bool recursive, high;
    for (; mine->getCurrentRecord(name, recursive, high); mine->next()) myWalk.push_back(name);
    EXPECT_EQ(all, myWalk);
    EXPECT_EQ(all, otherWalk);
    EXPECT_NE(mine, other);
}
