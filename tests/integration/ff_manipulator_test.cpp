// The search manipulator: its default callbacks per client id, capture and release of
// search directories, and the round trip it exists for: a file once found is suggested
// and returned by the next search of the same name without running the steps again.
// Every test makes its contexts from its own temporary directory, because the manager
// lives for the process.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "callback_doubles.h"
#include "context/resolution_context_mgr.h"
#include "history/search_manipulator.h"
#include "log_capture.h"
#include "temp_dir.h"

using namespace FF_2_13;

namespace {

constexpr char kClient[] = "profiler";

std::vector<std::string> binaryDirsOf(const ObjectPtr<ISearchEnv>& env) {
    return fftest::dirNames(env->searchDirs(scBinaryFiles));
}

class ManipulatorTest : public ::testing::Test {
protected:
    ManipulatorTest()
        : mgr(IResolutionContextMgr::create()),
          context(mgr->createFileSystemContext((tmp / "ctx").c_str(), false)) {}

    ObjectPtr<IMetadata> metadata() {
        return static_cast<ResolutionContextMgr&>(*mgr).getMetadataForContext(*context);
    }

    fftest::TempDir tmp;
    ObjectPtr<IResolutionContextMgr> mgr;
    ObjectPtr<IResolutionContext> context;
};

}  // namespace

TEST_F(ManipulatorTest, HandsOutTheContainerAndHistoryItWasGivenOrMadeItself) {
    ObjectPtr<ISearchManipulator> made =
        createSearchManipulatorByContext(context, nullptr, nullptr);
    ASSERT_TRUE(made);
    EXPECT_TRUE(made->getUserDefinedSearchDirs());
    EXPECT_TRUE(made->getHistory());

    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    ObjectPtr<ISearchManipulator> given = createSearchManipulatorByContext(context, dirs, history);
    EXPECT_EQ(dirs, given->getUserDefinedSearchDirs());
    EXPECT_EQ(history, given->getHistory());

    EXPECT_FALSE(createSearchManipulatorByContext(nullptr, dirs, history));
}

TEST_F(ManipulatorTest, OneDefaultCallbackPerClientIdAndKindStaysRegistered) {
    ObjectPtr<ISearchManipulator> m = createSearchManipulatorByContext(context, nullptr, nullptr);
    SearchManipulator& impl = static_cast<SearchManipulator&>(*m);
    m->setFilesFoundBehavior(kClient, ffbRememberChoice);
    ObjectPtr<DefaultFilesFoundCallback> first = impl.getFilesFoundCallback(kClient);
    m->setFilesFoundBehavior(kClient, ffbReturnOwnChoice);
    EXPECT_EQ(first, impl.getFilesFoundCallback(kClient));
    EXPECT_EQ(ffbReturnOwnChoice, first->behavior());
    EXPECT_EQ(first.get(), metadata()->getCallbacks(kClient).filesFound.get());

    // Each kind and each client id has its own; only the kinds used are registered.
    m->setOwnNoFilesFoundCallback("other", nullptr);
    EXPECT_NE(impl.getNoFilesFoundCallback(kClient), impl.getNoFilesFoundCallback("other"));
    EXPECT_EQ(nullptr, metadata()->getCallbacks("other").searchStarted.get());
    EXPECT_NE(nullptr, metadata()->getCallbacks("other").noFilesFound.get());

    EXPECT_THROW(m->setSearchStartedBehavior(nullptr, ssbSuggestRememberedAndSearch),
                 std::logic_error);
    EXPECT_THROW(m->setOwnFilesFoundCallback(nullptr, nullptr), std::logic_error);
}

TEST_F(ManipulatorTest, SearchDirsBehaviourCapturesOnOneReleasesOnZeroOnly) {
    ObjectPtr<ISearchManipulator> m = createSearchManipulatorByContext(context, nullptr, nullptr);
    ObjectPtr<IEditableSearchDirContainer> first = IEditableSearchDirContainer::create();
    first->addDirectory(scBinaryFiles, "/first", false, false);
    mgr->registerSearchDirs(*context, first, "k1");

    EXPECT_FALSE(m->setSearchDirsBehavior(nullptr, sdbCaptureNow));
    EXPECT_TRUE(m->setSearchDirsBehavior(kClient, sdbCaptureNow));
    EXPECT_TRUE(m->setSearchDirsBehavior("stored", sdbStoreOnly));
    ObjectPtr<IEditableSearchDirContainer> later = IEditableSearchDirContainer::create();
    later->addDirectory(scBinaryFiles, "/later", false, false);
    mgr->registerSearchDirs(*context, later, "k2");

    const std::vector<std::string> frozen{"/first"}, live{"/first", "/later"};
    EXPECT_EQ(frozen, binaryDirsOf(mgr->createSearchEnv(*context, kClient, nullptr)));
    EXPECT_EQ(live, binaryDirsOf(mgr->createSearchEnv(*context, "stored", nullptr)));
    EXPECT_EQ(live, binaryDirsOf(mgr->createSearchEnv(*context, "", nullptr)));
    EXPECT_TRUE(m->setSearchDirsBehavior(kClient, sdbStoreOnly));  // still frozen
    EXPECT_EQ(frozen, binaryDirsOf(mgr->createSearchEnv(*context, kClient, nullptr)));
    EXPECT_TRUE(m->setSearchDirsBehavior(kClient, sdbReleaseCaptured));
    EXPECT_EQ(live, binaryDirsOf(mgr->createSearchEnv(*context, kClient, nullptr)));
}

TEST_F(ManipulatorTest, AFileOnceFoundIsSuggestedAndReturnedWithoutSearchingAgain) {
    // Found only by the last step that runs here: a recursive low-priority directory.
    const std::string file = tmp.makeFile("tree/a/b/libround.so");
    ObjectPtr<ISearchManipulator> m = createSearchManipulatorByContext(context, nullptr, nullptr);
    m->getUserDefinedSearchDirs()->addDirectory(scBinaryFiles, (tmp / "tree").c_str(), true, false);
    mgr->registerSearchDirs(*context, m->getUserDefinedSearchDirs(), kClient);
    m->setFilesFoundBehavior(kClient, ffbRememberChoice);
    m->setSearchStartedBehavior(kClient, ssbSuggestRememberedAndSearch);
    ObjectPtr<IFileSearch> search = mgr->createFileSearch(*context, kClient, nullptr);
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);

    ObjectPtr<IValidFile> first = search->findBinFile("/recorded/libround.so", nullptr, nullptr, 0);
    ASSERT_TRUE(first);
    EXPECT_EQ(file, first->name());
    EXPECT_EQ(ssLowPrioritySearchDirs, first->searchStep());
    EXPECT_EQ(1u, log.count("Found file:"));
    ObjectPtr<IFileAssociation> remembered =
        m->getHistory()->findBinFileAssociation("/recorded/libround.so");
    ASSERT_TRUE(remembered);
    EXPECT_EQ(file, remembered->resolvedName());

    log.clear();
    fftest::ValidatorCallback secondOffers(vrValid);
    ObjectPtr<IValidFile> second =
        search->findBinFile("/recorded/libround.so", &secondOffers, nullptr, 0);
    ASSERT_TRUE(second);
    EXPECT_EQ(file, second->name());
    EXPECT_EQ(ssAskUser, second->searchStep());
    EXPECT_EQ(std::vector<std::string>{file}, secondOffers.asked);  // the suggestion only
    EXPECT_EQ(0u, log.count("Found file:"));                        // no step ran
    EXPECT_EQ(1u, log.count("*** VALID____ADDED"));
}
