// Resolution contexts: creation, chains, what createSearchEnv takes from which level,
// captures and archiving (the typical request end to end is the example client's, run
// by tests/check_example.sh). Every test makes its contexts from its own temporary
// directory, because the manager lives for the process.
#include <gtest/gtest.h>

#include <boost/filesystem.hpp>
#include <stdexcept>

#include "callback_doubles.h"
#include "ff_context.h"
#include "context/resolution_context_mgr.h"
#include "ff_utils.h"
#include "log_capture.h"
#include "temp_dir.h"

using namespace FF_2_13;

namespace {

using Started = fftest::StartedCallback;
using NoFiles = fftest::NoFilesCallback;
using Policy = fftest::PolicyCallback;

using Strings = std::vector<std::string>;

Strings dirsOf(const ObjectPtr<ISearchEnv>& env, search_category_t category, bool archive = false) {
    return fftest::dirNames(archive ? env->archiveDirs(category) : env->searchDirs(category));
}

class ContextTest : public ::testing::Test {
protected:
    ContextTest() { EXPECT_TRUE(mgr->addInheritance(*child, *parent)); }
    ObjectPtr<IResolutionContext> context(const std::string& name) {
        return mgr->createFileSystemContext((tmp / name).c_str(), false);
    }
    // The binary directories a search of `client` in the child context sees.
    Strings binaryDirsFor(const char* client) {
        return dirsOf(mgr->createSearchEnv(*child, client, nullptr), scBinaryFiles);
    }
    ObjectPtr<IEditableSearchDirContainer> dirsWith(search_category_t category,
                                                    const std::string& dir, bool recursive = false,
                                                    bool high = false) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        dirs->addDirectory(category, dir.c_str(), recursive, high);
        return dirs;
    }

    fftest::TempDir tmp;
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    ObjectPtr<IResolutionContext> child = context("child"), parent = context("parent");
};

}  // namespace

TEST_F(ContextTest, TheManagerIsOneObject) {
    EXPECT_EQ(mgr, IResolutionContextMgr::create());
    EXPECT_EQ(utils::getUserId(), mgr->createUserWideContext()->getUniqueID());
}

TEST_F(ContextTest, FileSystemContextsNeedAName) {
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    EXPECT_FALSE(mgr->createFileSystemContext(nullptr, false));
    EXPECT_FALSE(mgr->createFileSystemContext("", true));
    EXPECT_FALSE(mgr->createResultDirectoryContext(nullptr));
    EXPECT_EQ(3u, log.count("No context created!"));
    // "." is a name whose canonical form is empty.
    EXPECT_FALSE(mgr->createFileSystemContext(".", false));
    EXPECT_EQ(1u, log.count("ContextId: NULL"));
}

TEST_F(ContextTest, TwoSpellingsOfOneDirectoryShareTheirMetadata) {
    ObjectPtr<IResolutionContext> a = mgr->createFileSystemContext((tmp / "proj/").c_str(), false);
    ObjectPtr<IResolutionContext> b =
        mgr->createFileSystemContext((tmp / "x/../proj").c_str(), true);
    EXPECT_STREQ(a->getUniqueID(), b->getUniqueID());
    mgr->registerCacheDir(*a, "/cache");
    EXPECT_STREQ("/cache", mgr->createSearchEnv(*b, "c", nullptr)->cacheDir());
}

TEST_F(ContextTest, AResultDirectoryIsPresetOnce) {
    const std::string dir = tmp / "result";
    mgr->createResultDirectoryContext(dir.c_str());
    ObjectPtr<IResolutionContext> result = mgr->createResultDirectoryContext(dir.c_str());
    ObjectPtr<ISearchEnv> env = mgr->createSearchEnv(*result, "c", nullptr);
    EXPECT_EQ((Strings{dir + "/binaries"}), dirsOf(env, scBinaryFiles));
    EXPECT_EQ((Strings{dir + "/symbols", dir + "/binaries"}), dirsOf(env, scSymbolFiles));
    EXPECT_EQ((Strings{dir + "/sources"}), dirsOf(env, scSourceFiles));
    EXPECT_EQ((Strings{dir + "/all"}), dirsOf(env, scAllFiles));
    EXPECT_EQ((Strings{dir + "/archive/symbols"}), dirsOf(env, scSymbolFiles, true));
}

TEST_F(ContextTest, TheNearestCallbackWinsAndTheDefaultClientLendsOnlyTwo) {
    Started nearer, farther, shared;
    NoFiles sharedNoFiles;
    Policy sharedPolicy(1);
    mgr->registerSearchStartedCallback(*parent, "c", &farther);
    EXPECT_EQ(&farther, mgr->createSearchEnv(*child, "c", nullptr)->searchStartedCallback().get());
    mgr->registerSearchStartedCallback(*child, "c", &nearer);
    EXPECT_EQ(&nearer, mgr->createSearchEnv(*child, "c", nullptr)->searchStartedCallback().get());

    mgr->registerSearchStartedCallback(*child, "", &shared);
    mgr->registerNoFilesFoundCallback(*child, "", &sharedNoFiles);
    mgr->registerConfidenceLevelPolicyCallback(*child, "", &sharedPolicy);
    ObjectPtr<ISearchEnv> other = mgr->createSearchEnv(*child, "d", nullptr);
    EXPECT_EQ(nullptr, other->searchStartedCallback().get());
    EXPECT_EQ(&sharedNoFiles, other->noFilesFoundCallback().get());
    EXPECT_EQ(&sharedPolicy, other->confidenceLevelPolicyCallback().get());

    // Without a client id nothing registered per client applies.
    ObjectPtr<ISearchEnv> anonymous = mgr->createSearchEnv(*child, nullptr, nullptr);
    EXPECT_EQ(nullptr, anonymous->noFilesFoundCallback().get());
    EXPECT_THROW(mgr->registerSearchStartedCallback(*child, nullptr, &nearer), std::logic_error);
}

TEST_F(ContextTest, TheEnvironmentInfoArgumentWinsOverEveryContext) {
    ObjectPtr<IEditableEnvironmentInfo> registered = IEditableEnvironmentInfo::create();
    ObjectPtr<IEditableEnvironmentInfo> given = IEditableEnvironmentInfo::create();
    mgr->registerEnvironmentInfo(*parent, "", registered);
    EXPECT_EQ(registered, mgr->createSearchEnv(*child, "c", nullptr)->environmentInfo());
    EXPECT_EQ(given, mgr->createSearchEnv(*child, "c", given)->environmentInfo());
}

TEST_F(ContextTest, ACaptureHidesLaterDirectoriesForItsClientOnly) {
    mgr->registerSearchDirs(*parent, dirsWith(scBinaryFiles, "/first"), "k1");
    mgr->captureSearchDirs(*child, "c");
    mgr->registerSearchDirs(*child, dirsWith(scBinaryFiles, "/second"), "k2");
    mgr->registerSearchDirs(*parent, dirsWith(scBinaryFiles, "/third"), "k3");

    EXPECT_EQ(Strings{"/first"}, binaryDirsFor("c"));
    EXPECT_EQ((Strings{"/second", "/first", "/third"}), binaryDirsFor("d"));
    mgr->releaseSearchDirs(*child, "c");
    EXPECT_EQ((Strings{"/second", "/first", "/third"}), binaryDirsFor("c"));
}

TEST_F(ContextTest, ArchiveDirectoriesOfEveryLevelNearestFirst) {
    const std::string file = tmp.makeFile("libz.so");
    EXPECT_FALSE(mgr->archiveFile(*child, file.c_str(), scBinaryFiles));  // no archive yet
    mgr->registerArchiveDir(*parent, (tmp / "far").c_str());
    EXPECT_TRUE(mgr->archiveFile(*child, file.c_str(), scBinaryFiles));
    EXPECT_TRUE(mgr->archiveFile(*child, file.c_str(), scBinaryFiles));  // there already
    EXPECT_TRUE(boost::filesystem::is_directory(tmp / "far/binaries/libz.so"));
    EXPECT_TRUE(boost::filesystem::exists(file));
    EXPECT_FALSE(mgr->archiveFile(*child, (tmp / "missing").c_str(), scBinaryFiles));

    mgr->registerArchiveDir(*child, (tmp / "near").c_str());
    ObjectPtr<ISearchEnv> env = mgr->createSearchEnv(*child, "c", nullptr);
    EXPECT_EQ((Strings{tmp / "near/binaries", tmp / "far/binaries"}),
              dirsOf(env, scBinaryFiles, true));
    EXPECT_EQ((Strings{tmp / "near/all", tmp / "far/all"}), dirsOf(env, scAllFiles, true));
    EXPECT_TRUE(mgr->archiveFile(*child, file.c_str(), scSymbolFiles));
    EXPECT_TRUE(boost::filesystem::is_directory(tmp / "near/symbols/libz.so"));
}
