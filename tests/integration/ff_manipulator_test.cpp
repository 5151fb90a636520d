// The search manipulator: its default callbacks per client id, capture and release of search
// directories, and the round trip it exists for: a file once found is suggested and returned
// by the next search of the same name without running the steps again.
#include <gtest/gtest.h>

#include "callback_doubles.h"
#include "context/resolution_context_mgr.h"
#include "history/search_manipulator.h"
#include "log_capture.h"
#include "temp_dir.h"

using namespace FF_2_13;
using Strings = std::vector<std::string>;

namespace {

class ManipulatorTest : public ::testing::Test {
protected:
    Strings binaryDirsFor(const char* client) {
        return fftest::dirNames(
            mgr->createSearchEnv(*context, client, {})->searchDirs(scBinaryFiles));
    }
    ObjectPtr<IEditableSearchDirContainer> dirsWith(const char* dir) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        dirs->addDirectory(scBinaryFiles, dir, true, false);
        return dirs;
    }

    fftest::TempDir tmp;
    ObjectPtr<IResolutionContextMgr> mgr = IResolutionContextMgr::create();
    ObjectPtr<IResolutionContext> context =
        mgr->createFileSystemContext((tmp / "ctx").c_str(), false);
    ObjectPtr<ISearchManipulator> m = createSearchManipulatorByContext(context, nullptr, nullptr);
};

}  // namespace

TEST_F(ManipulatorTest, OneDefaultCallbackPerClientIdAndKindStaysRegistered) {
    EXPECT_TRUE(m->getUserDefinedSearchDirs() && m->getHistory());  // made when not given
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    EXPECT_EQ(history, createSearchManipulatorByContext(context, nullptr, history)->getHistory());
    EXPECT_FALSE(createSearchManipulatorByContext(nullptr, nullptr, history));

    SearchManipulator& impl = static_cast<SearchManipulator&>(*m);
    ObjectPtr<IMetadata> metadata =
        static_cast<ResolutionContextMgr&>(*mgr).getMetadataForContext(*context);
    m->setFilesFoundBehavior("c", ffbRememberChoice);
    ObjectPtr<DefaultFilesFoundCallback> first = impl.getFilesFoundCallback("c");
    m->setFilesFoundBehavior("c", ffbReturnOwnChoice);
    EXPECT_EQ(first, impl.getFilesFoundCallback("c"));
    EXPECT_EQ(ffbReturnOwnChoice, first->behavior());
    EXPECT_EQ(first.get(), metadata->getCallbacks("c").filesFound.get());
    // Each kind and client id has its own; only the kinds used are registered.
    m->setOwnNoFilesFoundCallback("other", nullptr);
    EXPECT_NE(impl.getNoFilesFoundCallback("c"), impl.getNoFilesFoundCallback("other"));
    EXPECT_EQ(nullptr, metadata->getCallbacks("other").searchStarted.get());
    EXPECT_NE(nullptr, metadata->getCallbacks("other").noFilesFound.get());
}

TEST_F(ManipulatorTest, SearchDirsBehaviourCapturesOnOneReleasesOnZeroOnly) {
    mgr->registerSearchDirs(*context, dirsWith("/first"), "k1");
    EXPECT_TRUE(m->setSearchDirsBehavior("c", sdbCaptureNow));
    EXPECT_TRUE(m->setSearchDirsBehavior("stored", sdbStoreOnly));
    mgr->registerSearchDirs(*context, dirsWith("/later"), "k2");
    const Strings frozen{"/first"}, live{"/first", "/later"};
    EXPECT_EQ(frozen, binaryDirsFor("c"));
    EXPECT_EQ(live, binaryDirsFor("stored"));
    EXPECT_EQ(live, binaryDirsFor(""));
    EXPECT_TRUE(m->setSearchDirsBehavior("c", sdbStoreOnly));  // still frozen
    EXPECT_EQ(frozen, binaryDirsFor("c"));
    EXPECT_TRUE(m->setSearchDirsBehavior("c", sdbReleaseCaptured));
    EXPECT_EQ(live, binaryDirsFor("c"));
}

TEST_F(ManipulatorTest, AFileOnceFoundIsSuggestedAndReturnedWithoutSearchingAgain) {
    const std::string file = tmp.makeFile("tree/a/b/libround.so");  // found by the last step
    mgr->registerSearchDirs(*context, dirsWith((tmp / "tree").c_str()), "c");
    m->setFilesFoundBehavior("c", ffbRememberChoice);
    m->setSearchStartedBehavior("c", ssbSuggestRememberedAndSearch);
    ObjectPtr<IFileSearch> search = mgr->createFileSearch(*context, "c", nullptr);
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    ObjectPtr<IValidFile> first = search->findBinFile("/recorded/libround.so", nullptr, nullptr, 0);
    ASSERT_TRUE(first);
    EXPECT_EQ(ssLowPrioritySearchDirs, first->searchStep());
    EXPECT_EQ(file,
              m->getHistory()->findBinFileAssociation("/recorded/libround.so")->resolvedName());

    log.clear();
    fftest::ValidatorCallback validator(vrValid);
    ObjectPtr<IValidFile> second =
        search->findBinFile("/recorded/libround.so", &validator, nullptr, 0);
    ASSERT_TRUE(second);
    EXPECT_EQ(file, second->name());
    EXPECT_EQ(ssAskUser, second->searchStep());
    EXPECT_EQ(Strings{file}, validator.asked);  // the suggestion only: no step ran
    EXPECT_EQ(0u, log.count("Found file:"));
}
