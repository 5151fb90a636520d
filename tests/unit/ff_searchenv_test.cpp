// The search environment record, the environment info, and the captured snapshot of an
// environment's search directories.
#include "ff_searchenv.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ff_searchenv_captured.h"

using namespace FF_2_13;

namespace {

class FilesFound : public IFilesFoundCallback {
public:
    ObjectPtr<IValidFile> binFilesFound(const char*, IValidFileIterator&) override {
        return ObjectPtr<IValidFile>();
    }
    ObjectPtr<IValidFile> symFilesFound(const char*, const char*, const char*,
                                        IValidFileIterator&) override {
        return ObjectPtr<IValidFile>();
    }
    ObjectPtr<IValidFile> srcFilesFound(const char*, const char*, const char*,
                                        IValidFileIterator&) override {
        return ObjectPtr<IValidFile>();
    }
};

class Policy : public IConfidenceLevelPolicyCallback {
public:
    unsigned int getConfidenceLevel(search_category_t, unsigned int) override { return 0; }
};

std::vector<std::string> names(const ObjectPtr<ISearchDirIterator>& it) {
    std::vector<std::string> out;
    const char* name;
    bool recursive, high;
    for (it->reset(); it->getCurrentRecord(name, recursive, high); it->next()) out.push_back(name);
    return out;
}

ObjectPtr<IEditableSearchEnv> envWith(const ObjectPtr<ISearchDirContainer>& dirs) {
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setSearchDirs(dirs);
    return env;
}

}  // namespace

TEST(SearchEnv, NewEnvironmentIsEmpty) {
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    for (search_category_t c : {scBinaryFiles, scSymbolFiles, scSourceFiles, scAllFiles}) {
        EXPECT_FALSE(env->searchDirs(c));
        EXPECT_FALSE(env->archiveDirs(c));
    }
    EXPECT_STREQ("", env->cacheDir());
    EXPECT_FALSE(env->environmentInfo());
    EXPECT_FALSE(env->searchStepsConfigurator());
    EXPECT_EQ(nullptr, env->fileRetriever());
    EXPECT_EQ(nullptr, env->messenger());
    EXPECT_FALSE(CallbackAccessor<ISearchStartedCallback>(env->searchStartedCallback()));
    EXPECT_FALSE(CallbackAccessor<IFilesFoundCallback>(env->filesFoundCallback()));
    EXPECT_FALSE(CallbackAccessor<INoFilesFoundCallback>(env->noFilesFoundCallback()));
    EXPECT_FALSE(
        CallbackAccessor<IConfidenceLevelPolicyCallback>(env->confidenceLevelPolicyCallback()));
}

TEST(SearchEnv, NullCacheDirKeepsTheEarlierValueAndNullPointersClear) {
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setCacheDir("/var/cache/x");
    env->setCacheDir(nullptr);
    EXPECT_STREQ("/var/cache/x", env->cacheDir());

    env->setSearchStepsConfigurator(ISearchStepsConfigurator::create());
    env->setEnvironmentInfo(IEditableEnvironmentInfo::create());
    EXPECT_TRUE(env->searchStepsConfigurator());
    env->setSearchStepsConfigurator(ObjectPtr<ISearchStepsConfigurator>());
    env->setEnvironmentInfo(ObjectPtr<IEnvironmentInfo>());
    EXPECT_FALSE(env->searchStepsConfigurator());
    EXPECT_FALSE(env->environmentInfo());
}

TEST(SearchEnv, SearchAndArchiveDirsGiveFreshIteratorsOverTheirOwnContainer) {
    ObjectPtr<IEditableSearchDirContainer> search = IEditableSearchDirContainer::create();
    search->addDirectory(scBinaryFiles, "/s", false, false);
    ObjectPtr<IEditableSearchDirContainer> archive = IEditableSearchDirContainer::create();
    archive->addDirectory(scBinaryFiles, "/arch", false, false);
    ObjectPtr<IEditableSearchEnv> env = envWith(search);
    env->setArchiveDirs(archive);

    ObjectPtr<ISearchDirIterator> first = env->searchDirs(scBinaryFiles);
    ObjectPtr<ISearchDirIterator> second = env->searchDirs(scBinaryFiles);
    ASSERT_TRUE(first && second);
    EXPECT_NE(first, second);
    first->next();  // moving one leaves the other where it was
    EXPECT_EQ((std::vector<std::string>{"/s"}), names(second));
    EXPECT_EQ((std::vector<std::string>{"/arch"}), names(env->archiveDirs(scBinaryFiles)));
}

TEST(SearchEnv, HoldersForgetCallbacksThatDie) {
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    Policy survivor;
    {
        FilesFound filesFound;
        env->setFilesFoundCallback(CallbackHolder<IFilesFoundCallback>(&filesFound));
        env->setConfidenceLevelPolicyCallback(&survivor);
        EXPECT_EQ(&filesFound,
                  CallbackAccessor<IFilesFoundCallback>(env->filesFoundCallback()).get());
    }
    EXPECT_FALSE(CallbackAccessor<IFilesFoundCallback>(env->filesFoundCallback()));
    EXPECT_EQ(&survivor,
              CallbackAccessor<IConfidenceLevelPolicyCallback>(env->confidenceLevelPolicyCallback())
                  .get());
    env = ObjectPtr<IEditableSearchEnv>();  // unregisters from the live callback
}

TEST(EnvironmentInfo, StartsUnknownAndStoresValuesUnchecked) {
    ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
    EXPECT_EQ(osUnknown, info->osType());
    EXPECT_EQ(archUnknown, info->architecture());
    EXPECT_STREQ("", info->kernelRelease());
    info->setOsType(static_cast<operating_system_type_t>(77));
    info->setArchitecture(archX86_64);
    info->setKernelRelease("5.10.0");
    info->setKernelRelease(nullptr);
    EXPECT_EQ(77, info->osType());
    EXPECT_EQ(archX86_64, info->architecture());
    EXPECT_STREQ("5.10.0", info->kernelRelease());
}

TEST(CapturedSearchDirs, IsFrozenAtCaptureAndEmptyForANullEnvironment) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scSymbolFiles, "/sym", true, false);
    ObjectPtr<ICapturedSearchDirs> captured = ICapturedSearchDirs::create(envWith(dirs));
    dirs->addDirectory(scSymbolFiles, "/later", false, false);
    dirs->addDirectory(scBinaryFiles, "/bin", false, false);

    EXPECT_EQ((std::vector<std::string>{"/sym"}), names(captured->enumerate(scSymbolFiles)));
    EXPECT_FALSE(captured->enumerate(scBinaryFiles));
    EXPECT_FALSE(captured->enumerate(static_cast<search_category_t>(9)));

    ObjectPtr<ICapturedSearchDirs> empty = ICapturedSearchDirs::create(ObjectPtr<ISearchEnv>());
    EXPECT_FALSE(empty->enumerate(scSymbolFiles));
}

TEST(CapturedSearchDirs, OneThreadGetsTheSameIteratorWithItsPosition) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, "/a", false, false);
    dirs->addDirectory(scBinaryFiles, "/b", false, false);
    ObjectPtr<ICapturedSearchDirs> captured = ICapturedSearchDirs::create(envWith(dirs));

    ObjectPtr<ISearchDirIterator> first = captured->enumerate(scBinaryFiles);
    first->next();
    ObjectPtr<ISearchDirIterator> second = captured->enumerate(scBinaryFiles);
    EXPECT_EQ(first, second);
    const char* name;
    bool recursive, high;
    ASSERT_TRUE(second->getCurrentRecord(name, recursive, high));
    EXPECT_STREQ("/b", name);

    // Through an environment whose container is the snapshot, as a search reads it.
    ObjectPtr<IEditableSearchEnv> env = envWith(captured);
    EXPECT_EQ(first, env->searchDirs(scBinaryFiles));
}

// Regression: with one iterator for all threads, a search on another thread that resets
// and walks the shared cursor made a walk in progress skip the rest of its directories.
TEST(CapturedSearchDirs, WalksOnTwoThreadsDoNotDisturbEachOther) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    for (const char* d : {"/1", "/2", "/3"}) dirs->addDirectory(scSourceFiles, d, false, false);
    ObjectPtr<ICapturedSearchDirs> captured = ICapturedSearchDirs::create(envWith(dirs));
    const std::vector<std::string> all = {"/1", "/2", "/3"};

    std::mutex m;
    std::condition_variable cv;
    int phase = 0;  // 1: first walk stands on "/1"; 2: the other thread walked everything
    std::vector<std::string> firstWalk, otherWalk;
    ObjectPtr<ISearchDirIterator> firstIt, otherIt;

    std::thread first([&] {
        firstIt = captured->enumerate(scSourceFiles);
        const char* name;
        bool r, h;
        firstIt->reset();
        firstIt->getCurrentRecord(name, r, h);
        firstWalk.push_back(name);
        {
            std::unique_lock<std::mutex> lock(m);
            phase = 1;
            cv.notify_all();
            cv.wait(lock, [&] { return phase == 2; });
        }
        while (firstIt->next() && firstIt->getCurrentRecord(name, r, h)) firstWalk.push_back(name);
    });
    std::thread other([&] {
        {
            std::unique_lock<std::mutex> lock(m);
            cv.wait(lock, [&] { return phase == 1; });
        }
        otherIt = captured->enumerate(scSourceFiles);
        otherWalk = names(otherIt);
        otherIt->next();  // leaves its own cursor at the end
        std::lock_guard<std::mutex> lock(m);
        phase = 2;
        cv.notify_all();
    });
    first.join();
    other.join();
    EXPECT_EQ(all, firstWalk);
    EXPECT_EQ(all, otherWalk);
    EXPECT_NE(firstIt, otherIt);
}

TEST(CapturedSearchDirs, ForgetsIteratorsOfThreadsNobodyHoldsButKeepsHeldOnes) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, "/a", false, false);
    ObjectPtr<ICapturedSearchDirs> captured = ICapturedSearchDirs::create(envWith(dirs));
    auto* impl = dynamic_cast<CapturedSearchDirs*>(captured.get());
    ASSERT_NE(nullptr, impl);

    // The threads take turns but stay alive to the end, so that each has an id of its own.
    constexpr int kThreads = 60;
    std::vector<ObjectPtr<ISearchDirIterator>> held;
    std::mutex m;
    std::condition_variable cv;
    int turn = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            std::unique_lock<std::mutex> lock(m);
            cv.wait(lock, [&] { return turn == i; });
            if (i < 3)
                held.push_back(captured->enumerate(scBinaryFiles));
            else
                captured->enumerate(scBinaryFiles);  // and let go at once
            ++turn;
            cv.notify_all();
            cv.wait(lock, [&] { return turn == kThreads; });
        });
    for (std::thread& t : threads) t.join();

    EXPECT_LE(impl->threadCount(), 16u);
    // The held iterators still work and were not replaced for anyone.
    for (const ObjectPtr<ISearchDirIterator>& it : held)
        EXPECT_EQ((std::vector<std::string>{"/a"}), names(it));
    EXPECT_GE(impl->threadCount(), 3u);
}
