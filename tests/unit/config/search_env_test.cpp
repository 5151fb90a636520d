// The search environment record and the captured snapshot of an environment's directories.
// (Captures made and released while searches walk them: tests/stress.)
#include "ff_searchenv.h"

#include <gtest/gtest.h>

#include <thread>

#include "callback_doubles.h"

using namespace FF_2_13;
using fftest::dirNames;
using Strings = std::vector<std::string>;

namespace {

ObjectPtr<IEditableSearchEnv> envWith(const ObjectPtr<ISearchDirContainer>& dirs) {
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setSearchDirs(dirs);
    return env;
}

ObjectPtr<IEditableSearchDirContainer> dirsOf(Strings names) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    for (const std::string& name : names)
        dirs->addDirectory(scBinaryFiles, name.c_str(), false, false);
    return dirs;
}

}  // namespace

TEST(SearchEnv, DirsGiveFreshIteratorsAndANullCacheDirKeepsTheEarlierOne) {
    ObjectPtr<IEditableSearchEnv> env = envWith(dirsOf({"/s"}));
    env->setCacheDir("/var/cache/x");
    env->setCacheDir(nullptr);
    EXPECT_STREQ("/var/cache/x", env->cacheDir());
    ObjectPtr<ISearchDirIterator> first = env->searchDirs(scBinaryFiles);
    first->next();  // moving one leaves the other where it was
    EXPECT_EQ(Strings{"/s"}, dirNames(env->searchDirs(scBinaryFiles)));
}

// One iterator per thread, which a later enumerate on that thread gives back where it stands.
// Regression: with one iterator for all threads, a walk on another thread made a walk in
// progress skip the rest of its directories.
TEST(CapturedSearchDirs, IsFrozenAtCaptureAndKeepsOneIteratorPerThread) {
    ObjectPtr<IEditableSearchDirContainer> dirs = dirsOf({"/1", "/2", "/3"});
    ObjectPtr<ICapturedSearchDirs> captured = ICapturedSearchDirs::create(envWith(dirs));
    dirs->addDirectory(scBinaryFiles, "/later", false, false);
    dirs->addDirectory(scSymbolFiles, "/sym", false, false);
    EXPECT_FALSE(captured->enumerate(scSymbolFiles));
    EXPECT_FALSE(ICapturedSearchDirs::create(ObjectPtr<ISearchEnv>())->enumerate(scBinaryFiles));

    ObjectPtr<ISearchDirIterator> mine = captured->enumerate(scBinaryFiles), other;
    mine->reset();
    mine->next();  // on "/2"
    EXPECT_EQ(mine, envWith(captured)->searchDirs(scBinaryFiles));
    Strings otherWalk, myWalk;
    std::thread([&] {
        other = captured->enumerate(scBinaryFiles);
        otherWalk = dirNames(other);
    }).join();
    const char* name;
    bool recursive, high;
    for (; mine->getCurrentRecord(name, recursive, high); mine->next()) myWalk.push_back(name);
    EXPECT_EQ((Strings{"/2", "/3"}), myWalk);
    EXPECT_EQ((Strings{"/1", "/2", "/3"}), otherWalk);
    EXPECT_NE(mine, other);
}
