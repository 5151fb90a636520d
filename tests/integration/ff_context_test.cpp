// Resolution contexts: what createSearchEnv takes from which level of a chain, captures and
// archiving. (The typical request end to end: tests/check_example.sh; the layout of a result
// directory's preset for every kind of name: the bad-input table.) Contexts are made from a
// temporary directory per test, because the manager lives for the process.
#include <gtest/gtest.h>

#include "callback_doubles.h"
#include "ff_context.h"
#include "ff_utils.h"
#include "log_capture.h"
#include "temp_dir.h"

using namespace FF_2_13;
using Strings = std::vector<std::string>;
using fftest::dirNames;

namespace {

class ContextTest : public ::testing::Test {
protected:
    ContextTest() { mgr->addInheritance(*child, *parent); }
    ObjectPtr<IResolutionContext> context(const std::string& name, bool flag = false) {
        return mgr->createFileSystemContext((tmp / name).c_str(), flag);
    }
    ObjectPtr<ISearchEnv> envOf(const char* client, ObjectPtr<IEnvironmentInfo> info = {}) {
        return mgr->createSearchEnv(*child, client, info);
    }
    void registerDir(IResolutionContext& at, const char* dir, const char* key) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        dirs->addDirectory(scBinaryFiles, dir, false, false);
        mgr->registerSearchDirs(at, dirs, key);
    }

    fftest::TempDir tmp;
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    ObjectPtr<IResolutionContext> child = context("child"), parent = context("parent");
};

}  // namespace

TEST_F(ContextTest, ContextsAreNamedByTheirCanonicalNameAndPresetOnce) {
    EXPECT_EQ(mgr, IResolutionContextMgr::create());
    EXPECT_EQ(utils::getUserId(), mgr->createUserWideContext()->getUniqueID());
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    EXPECT_FALSE(mgr->createFileSystemContext(nullptr, false));
    EXPECT_FALSE(mgr->createFileSystemContext(".", false));  // canonical form empty
    EXPECT_EQ(2u, log.count("No context created!"));
    EXPECT_EQ(1u, log.count("ContextId: NULL"));

    // Two spellings of one directory share one metadata record.
    mgr->registerCacheDir(*context("proj/"), "/cache");
    EXPECT_STREQ("/cache", mgr->createSearchEnv(*context("x/../proj", true), "c", {})->cacheDir());

    const std::string dir = tmp / "result";
    mgr->createResultDirectoryContext(dir.c_str());
    ObjectPtr<IResolutionContext> result = mgr->createResultDirectoryContext(dir.c_str());
    EXPECT_EQ(Strings{dir + "/binaries"},
              dirNames(mgr->createSearchEnv(*result, "c", {})->searchDirs(scBinaryFiles)));
}

TEST_F(ContextTest, TheNearestValueWinsAndTheDefaultClientLendsOnlyTwoCallbacks) {
    fftest::StartedCallback nearer, farther, shared;
    fftest::NoFilesCallback sharedNoFiles;
    fftest::PolicyCallback sharedPolicy;
    mgr->registerSearchStartedCallback(*parent, "c", &farther);
    EXPECT_EQ(&farther, envOf("c")->searchStartedCallback().get());
    mgr->registerSearchStartedCallback(*child, "c", &nearer);
    EXPECT_EQ(&nearer, envOf("c")->searchStartedCallback().get());

    mgr->registerSearchStartedCallback(*child, "", &shared);
    mgr->registerNoFilesFoundCallback(*child, "", &sharedNoFiles);
    mgr->registerConfidenceLevelPolicyCallback(*child, "", &sharedPolicy);
    ObjectPtr<ISearchEnv> other = envOf("d");
    EXPECT_EQ(nullptr, other->searchStartedCallback().get());
    EXPECT_EQ(&sharedNoFiles, other->noFilesFoundCallback().get());
    EXPECT_EQ(&sharedPolicy, other->confidenceLevelPolicyCallback().get());
    EXPECT_EQ(nullptr, envOf(nullptr)->noFilesFoundCallback().get());  // no client: none

    // The environment info argument wins over every level.
    ObjectPtr<IEditableEnvironmentInfo> registered = IEditableEnvironmentInfo::create(),
                                        given = IEditableEnvironmentInfo::create();
    mgr->registerEnvironmentInfo(*parent, "", registered);
    EXPECT_EQ(registered, envOf("c")->environmentInfo());
    EXPECT_EQ(given, envOf("c", given)->environmentInfo());
}

TEST_F(ContextTest, ACaptureHidesLaterDirectoriesOfEveryLevelForItsClientOnly) {
    registerDir(*parent, "/first", "k1");
    mgr->captureSearchDirs(*child, "c");
    registerDir(*child, "/second", "k2");
    registerDir(*parent, "/third", "k3");
    EXPECT_EQ(Strings{"/first"}, dirNames(envOf("c")->searchDirs(scBinaryFiles)));
    EXPECT_EQ((Strings{"/second", "/first", "/third"}),
              dirNames(envOf("d")->searchDirs(scBinaryFiles)));
    mgr->releaseSearchDirs(*child, "c");
    EXPECT_EQ((Strings{"/second", "/first", "/third"}),
              dirNames(envOf("c")->searchDirs(scBinaryFiles)));
}

TEST_F(ContextTest, ArchiveDirectoriesOfEveryLevelNearestFirst) {
    const std::string file = tmp.makeFile("libz.so");
    EXPECT_FALSE(mgr->archiveFile(*child, file.c_str(), scBinaryFiles));  // no archive yet
    mgr->registerArchiveDir(*parent, (tmp / "far").c_str());
    EXPECT_TRUE(mgr->archiveFile(*child, file.c_str(), scBinaryFiles));
    EXPECT_TRUE(mgr->archiveFile(*child, file.c_str(), scBinaryFiles));  // there already
    EXPECT_TRUE(utils::isDirectory((tmp / "far/binaries/libz.so").c_str()));
    EXPECT_TRUE(utils::fileExists(file.c_str()));  // copied, not moved
    EXPECT_FALSE(mgr->archiveFile(*child, (tmp / "missing").c_str(), scBinaryFiles));

    mgr->registerArchiveDir(*child, (tmp / "near").c_str());
    EXPECT_EQ((Strings{tmp / "near/all", tmp / "far/all"}),
              dirNames(envOf("c")->archiveDirs(scAllFiles)));
    EXPECT_TRUE(mgr->archiveFile(*child, file.c_str(), scSymbolFiles));
    EXPECT_TRUE(utils::isDirectory((tmp / "near/symbols/libz.so").c_str()));
}
