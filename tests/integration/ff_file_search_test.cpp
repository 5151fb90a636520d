// End-to-end searches on temporary trees: the search protocol with its callbacks, the
// kernel fallbacks and images, and duplicates. Concurrent searches are the stress
// program's (tests/stress), run under ThreadSanitizer.
#include <gtest/gtest.h>

#include "callback_doubles.h"
#include "ff_kernel_image.h"
#include "ff_searchdirs.h"
#include "ff_searchenv.h"
#include "ff_utils.h"
#include "gzip.h"
#include "log_capture.h"
#include "search/file_search.h"
#include "temp_dir.h"

using namespace FF_2_13;

namespace {

using fftest::NoFilesCallback;
using fftest::StartedCallback;
using TakeNth = fftest::FilesFoundCallback;

class SearchTest : public ::testing::Test {
protected:
    SearchTest() : env(IEditableSearchEnv::create()), dirs(IEditableSearchDirContainer::create()) {
        env->setSearchDirs(dirs);
    }
    ObjectPtr<IFileSearch> search() { return IFileSearch::create(env); }

    fftest::TempDir tmp;
    ObjectPtr<IEditableSearchEnv> env;
    ObjectPtr<IEditableSearchDirContainer> dirs;
};

}  // namespace

TEST_F(SearchTest, EmptyNamesReturnNullBeforeAnyCallback) {
    StartedCallback started;
    env->setSearchStartedCallback(&started);
    EXPECT_FALSE(search()->findBinFile(nullptr, nullptr, nullptr, 0));
    EXPECT_FALSE(search()->findBinFile("", nullptr, nullptr, 0));
    EXPECT_FALSE(search()->findSymFile("", "/bin/x", nullptr, nullptr, nullptr, nullptr, nullptr));
    EXPECT_FALSE(search()->findSrcFile(nullptr, "/bin/x", nullptr, nullptr, nullptr));
    EXPECT_TRUE(started.names.empty());
    EXPECT_FALSE(
        IFileSearch::create(ObjectPtr<ISearchEnv>())->findBinFile("x", nullptr, nullptr, 0));
}

TEST_F(SearchTest, StepsRunInTheirOrderAndTheFilesFoundCallbackChooses) {
    const std::string high = tmp.makeFile("high/libx.so");
    const std::string low = tmp.makeFile("low/sub/libx.so");
    dirs->addDirectory(scBinaryFiles, (tmp / "low").c_str(), true, false);
    dirs->addDirectory(scBinaryFiles, (tmp / "high").c_str(), false, true);
    const char* name = "/somewhere/else/libx.so";

    ObjectPtr<IValidFile> found = search()->findBinFile(name, nullptr, nullptr, 0);
    ASSERT_TRUE(found);
    EXPECT_EQ(high, found->name());
    EXPECT_EQ(ssHighPrioritySearchDirs, found->searchStep());
    EXPECT_EQ(cfPolicyHigh, found->confidence());  // undecided without a policy: accepted as 1
    {
        // The callback walks on: the second file comes from a later step.
        TakeNth second(2);
        env->setFilesFoundCallback(&second);
        found = search()->findBinFile(name, nullptr, nullptr, 0);
        ASSERT_TRUE(found);
        EXPECT_EQ(low, found->name());
        EXPECT_EQ(ssLowPrioritySearchDirs, found->searchStep());
        TakeNth none(0);  // its choice is the answer, even when it chooses nothing
        env->setFilesFoundCallback(&none);
        EXPECT_FALSE(search()->findBinFile(name, nullptr, nullptr, 0));
    }
    found = search()->findBinFile(name, nullptr, nullptr, 0);  // destroyed: no longer asked
    ASSERT_TRUE(found);
    EXPECT_EQ(high, found->name());
}

TEST_F(SearchTest, AValidSuggestionComesFirst) {
    const std::string suggested = tmp.makeFile("suggested/libx.so");
    const std::string inDir = tmp.makeFile("dir/libx.so");
    dirs->addDirectory(scBinaryFiles, (tmp / "dir").c_str(), false, true);
    {
        TakeNth all(5);
        env->setFilesFoundCallback(&all);
        search()->findBinFile("libx.so", nullptr, suggested.c_str(), 0);
        EXPECT_EQ((std::vector<std::string>{suggested, inDir}), all.seen);
    }
    ObjectPtr<IValidFile> first = search()->findBinFile("libx.so", nullptr, suggested.c_str(), 0);
    ASSERT_TRUE(first);
    EXPECT_EQ(suggested, first->name());
    EXPECT_EQ(ssAskUser, first->searchStep());
}

TEST_F(SearchTest, SearchStartedFalseRunsNoStepAndReachesNoFilesFound) {
    tmp.makeFile("dir/libx.so");
    const std::string suggested = tmp.makeFile("suggested/libx.so");
    dirs->addDirectory(scBinaryFiles, (tmp / "dir").c_str(), false, true);
    StartedCallback started;
    started.answer = false;
    started.suggestion = suggested;
    NoFilesCallback noFiles;
    env->setSearchStartedCallback(&started);
    env->setNoFilesFoundCallback(&noFiles);
    EXPECT_FALSE(search()->findBinFile("libx.so", nullptr, nullptr, 0));
    // The valid suggestion is visible, not returned; no step ran, so the file in the
    // directory was never seen.
    EXPECT_EQ((std::vector<std::string>{suggested}), noFiles.validNames);
    EXPECT_TRUE(noFiles.invalidNames.empty());
}

TEST_F(SearchTest, NoFilesFoundSeesRejectedCandidatesAndMaySupplyOne) {
    const std::string rejected = tmp.makeFile("dir/libx.so");
    dirs->addDirectory(scBinaryFiles, (tmp / "dir").c_str(), false, true);
    fftest::ValidatorCallback rejectAll(vrInvalid);
    NoFilesCallback noFiles;
    env->setNoFilesFoundCallback(&noFiles);
    EXPECT_FALSE(search()->findBinFile("libx.so", &rejectAll, nullptr, 0));
    EXPECT_EQ((std::vector<std::string>{rejected}), noFiles.invalidNames);
    EXPECT_EQ((std::vector<std::string>{"rejected by test"}), noFiles.invalidMessages);

    noFiles.forceFirstInvalid = true;
    ObjectPtr<IValidFile> forced = search()->findBinFile("libx.so", &rejectAll, nullptr, 0);
    ASSERT_TRUE(forced);
    EXPECT_EQ(rejected, forced->name());
    EXPECT_EQ(cfAccepted, forced->confidence());
}

TEST_F(SearchTest, EachCategoryFindsItsFilesEndToEnd) {
    const std::string binary = tmp.makeFile("app/bin/tool");
    const std::string symbols = tmp.makeFile("app/bin/.debug/tool.debug");
    const std::string source = tmp.makeFile("src/tree/main.c");
    dirs->addDirectory(scSourceFiles, (tmp / "src").c_str(), true, false);
    StartedCallback started;
    env->setSearchStartedCallback(&started);

    ObjectPtr<IValidFile> bin = search()->findBinFile(binary.c_str(), nullptr, nullptr, 0);
    ASSERT_TRUE(bin);
    EXPECT_EQ(ssAbsoluteNameLookup, bin->searchStep());
    ObjectPtr<IValidFile> sym = search()->findSymFile("tool.debug", bin->name(), nullptr, nullptr,
                                                      nullptr, nullptr, nullptr);
    ASSERT_TRUE(sym);
    EXPECT_EQ(symbols, sym->name());
    EXPECT_EQ(ssAroundBinaryLookup, sym->searchStep());
    ObjectPtr<IValidFile> src =
        search()->findSrcFile("/build/machine/tree/main.c", bin->name(), nullptr, nullptr, nullptr);
    ASSERT_TRUE(src);
    EXPECT_EQ(source, src->name());
    EXPECT_EQ(ssLowPrioritySearchDirs, src->searchStep());
    // Each category reaches its own operation, with canonical names and "" for the
    // checksum not given.
    EXPECT_EQ((std::vector<std::string>{"bin " + binary + "||", "sym tool.debug|" + binary + "|",
                                        "src /build/machine/tree/main.c|" + binary + "|"}),
              started.calls);
}

TEST_F(SearchTest, VmlinuxFallsBackToTheImagesOfTheRecordedRelease) {
    ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
    info->setKernelRelease("0.0.0-ff-test");
    env->setEnvironmentInfo(info);
    StartedCallback started;
    env->setSearchStartedCallback(&started);
    // Nothing of that release exists on any machine: all three searches miss.
    EXPECT_FALSE(search()->findBinFile("vmlinux", nullptr, nullptr, 0));
    EXPECT_EQ((std::vector<std::string>{"vmlinux", "/boot/vmlinux-0.0.0-ff-test",
                                        "/boot/vmlinuz-0.0.0-ff-test"}),
              started.names);
}

TEST_F(SearchTest, ACompressedKernelIsUnpackedOnceAndFoundAgainFromTheCache) {
    fftest::ScopedUserDataDir userData(tmp / "userdata");
    const std::string kernel(300000, 'K');
    tmp.makeFile("kernels/vmlinuz-9.9", std::string(16384, 'J') + fftest::gzip(kernel));
    dirs->addDirectory(scBinaryFiles, (tmp / "kernels").c_str(), false, true);
    fftest::ValidatorCallback rejectCompressed(vrInvalid, "vmlinuz");

    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    ObjectPtr<IValidFile> image =
        search()->findBinFile("vmlinuz-9.9", &rejectCompressed, nullptr, 0);
    ASSERT_TRUE(image);
    EXPECT_NE(std::string::npos, std::string(image->name()).find("/userdata/vmlinux_cache/"));
    EXPECT_EQ(VMLINUX, utils::getFileNameOnly(image->name()));
    EXPECT_EQ(ssHighPrioritySearchDirs, image->searchStep());
    EXPECT_EQ(kernel, fftest::readFile(image->name()));
    EXPECT_EQ(1u, log.count(" was extracted from "));

    ObjectPtr<IValidFile> again =
        search()->findBinFile("vmlinuz-9.9", &rejectCompressed, nullptr, 0);
    ASSERT_TRUE(again);
    EXPECT_STREQ(image->name(), again->name());
    EXPECT_EQ(1u, log.count(" was extracted from "));  // no second extraction
}

TEST_F(SearchTest, AFileOfferedByTwoStepsIsRecordedOnce) {
    const std::string file = tmp.makeFile("dir/libx.so");
    dirs->addDirectory(scBinaryFiles, (tmp / "dir").c_str(), false, true);
    // The same directory, spelt otherwise, among the low-priority ones of every category.
    dirs->addDirectory(scAllFiles, (tmp / "dir/sub/..").c_str(), false, false);
    TakeNth all(10);
    env->setFilesFoundCallback(&all);
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    search()->findBinFile("libx.so", nullptr, nullptr, 0);
    EXPECT_EQ((std::vector<std::string>{file}), all.seen);
    EXPECT_EQ(1u, log.count("*** VALID_DUBLICAT "));
}

TEST_F(SearchTest, ARecursiveMissLogsEveryCandidateWhileALogListens) {
    tmp.makeDir("tree/a/b");
    tmp.makeDir("tree/c");
    dirs->addDirectory(scBinaryFiles, (tmp / "tree").c_str(), true, true);
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    EXPECT_FALSE(search()->findBinFile("missing.so", nullptr, nullptr, 0));
    // tree/missing.so twice (iteratively, then recursively), then one per sub-directory.
    EXPECT_EQ(5u, log.count("*** DO__NOT__EXIST " + (tmp / "tree")));
}
