// End-to-end searches on temporary trees: the search protocol with its callbacks, the kernel
// fallbacks and images, and duplicates. (Empty and odd names: the bad-input table; concurrent
// searches: tests/stress.)
#include <gtest/gtest.h>

#include "callback_doubles.h"
#include "ff_search_options.h"
#include "ff_searchenv.h"
#include "ff_utils.h"
#include "gzip.h"
#include "log_capture.h"
#include "search/file_search.h"
#include "temp_dir.h"

using namespace FF_2_13;
using Names = std::vector<std::string>;

namespace {

class SearchTest : public ::testing::Test {
protected:
    SearchTest() { env->setSearchDirs(dirs); }
    // "<name> step <step>" of what a search for `request` returns, or "<none>".
    std::string find(const char* request, IValidatorCallback* validator = nullptr,
                     const char* suggested = nullptr) {
        ObjectPtr<IValidFile> found =
            IFileSearch::create(env)->findBinFile(request, validator, suggested, 0);
        return found ? found->name() + (" step " + std::to_string(found->searchStep())) : "<none>";
    }
    std::string dir(const char* name, bool recursive, bool high,
                    search_category_t category = scBinaryFiles) {
        dirs->addDirectory(category, (tmp / name).c_str(), recursive, high);
        return tmp / name;
    }

    fftest::TempDir tmp;
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    fftest::StartedCallback started;
    fftest::NoFilesCallback noFiles;
};

// "path outcome" of every candidate it is told about.
struct RecordingObserver : ISearchObserver {
    void candidateSeen(const char* path, search_step_t, candidate_outcome_t outcome,
                       const char*) override {
        seen.push_back(path + (" " + std::to_string(outcome)));
    }
    void directorySkipped(const char* path, const char*) override { skipped.push_back(path); }
    Names seen;
    Names skipped;
};

}  // namespace

TEST_F(SearchTest, StepsRunInTheirOrderAndTheFilesFoundCallbackChooses) {
    const std::string high = tmp.makeFile("high/libx.so"), low = tmp.makeFile("low/sub/libx.so");
    dir("low", true, false);
    dir("high", false, true);
    EXPECT_EQ(high + " step 2", find("/elsewhere/libx.so"));
    {
        // The callback walks on: the second file comes from a later step.
        fftest::FilesFoundCallback second(2), none(0);
        env->setFilesFoundCallback(&second);
        EXPECT_EQ(low + " step 16", find("/elsewhere/libx.so"));
        env->setFilesFoundCallback(&none);  // its choice is the answer, even nothing
        EXPECT_EQ("<none>", find("/elsewhere/libx.so"));
    }
    EXPECT_EQ(high + " step 2", find("/elsewhere/libx.so"));  // destroyed: no longer asked
    EXPECT_FALSE(
        IFileSearch::create(ObjectPtr<ISearchEnv>())->findBinFile("x", nullptr, nullptr, 0));
}

TEST_F(SearchTest, AValidSuggestionComesFirst) {
    const std::string suggested = tmp.makeFile("suggested/libx.so"),
                      inDir = tmp.makeFile("dir/libx.so");
    dir("dir", false, true);
    EXPECT_EQ(suggested + " step 64", find("libx.so", nullptr, suggested.c_str()));
    fftest::FilesFoundCallback all(5);
    env->setFilesFoundCallback(&all);
    find("libx.so", nullptr, suggested.c_str());
    EXPECT_EQ((Names{suggested, inDir}), all.seen);
}

TEST_F(SearchTest, SearchStartedFalseRunsNoStepAndReachesNoFilesFound) {
    tmp.makeFile("dir/libx.so");
    dir("dir", false, true);
    started.answer = false;
    started.suggestion = tmp.makeFile("suggested/libx.so");
    env->setSearchStartedCallback(&started);
    env->setNoFilesFoundCallback(&noFiles);
    EXPECT_EQ("<none>", find("libx.so"));
    // The valid suggestion is shown, not returned; no step ran.
    EXPECT_EQ(Names{started.suggestion}, noFiles.valid);
    EXPECT_TRUE(noFiles.invalid.empty());
}

TEST_F(SearchTest, NoFilesFoundSeesRejectedCandidatesAndMaySupplyOne) {
    const std::string rejected = tmp.makeFile("dir/libx.so");
    dir("dir", false, true);
    fftest::ValidatorCallback rejectAll(vrInvalid);
    env->setNoFilesFoundCallback(&noFiles);
    EXPECT_EQ("<none>", find("libx.so", &rejectAll));
    EXPECT_EQ(Names{rejected + ": rejected by test"}, noFiles.invalid);
    noFiles.forceFirstInvalid = true;
    ObjectPtr<IValidFile> forced =
        IFileSearch::create(env)->findBinFile("libx.so", &rejectAll, nullptr, 0);
    ASSERT_TRUE(forced);
    EXPECT_EQ(rejected, forced->name());
    EXPECT_EQ(cfAccepted, forced->confidence());
}

TEST_F(SearchTest, EachCategoryFindsItsFilesEndToEnd) {
    const std::string binary = tmp.makeFile("app/bin/tool");
    const std::string symbols = tmp.makeFile("app/bin/.debug/tool.debug");
    const std::string source = tmp.makeFile("src/tree/main.c");
    dir("src", true, false, scSourceFiles);
    env->setSearchStartedCallback(&started);
    ObjectPtr<IFileSearch> search = IFileSearch::create(env);
    ObjectPtr<IValidFile> bin = search->findBinFile(binary.c_str(), nullptr, nullptr, 0);
    ObjectPtr<IValidFile> sym = search->findSymFile("tool.debug", binary.c_str(), nullptr, nullptr,
                                                    nullptr, nullptr, nullptr);
    ObjectPtr<IValidFile> src = search->findSrcFile("/build/machine/tree/main.c", binary.c_str(),
                                                    nullptr, nullptr, nullptr);
    ASSERT_TRUE(bin && sym && src);
    EXPECT_EQ(ssAbsoluteNameLookup, bin->searchStep());
    EXPECT_EQ(symbols, sym->name());
    EXPECT_EQ(ssAroundBinaryLookup, sym->searchStep());
    EXPECT_EQ(source, src->name());
    EXPECT_EQ(ssLowPrioritySearchDirs, src->searchStep());
    // Each category reaches its own operation; a checksum not given is "".
    EXPECT_EQ((Names{"bin " + binary + "||", "sym tool.debug|" + binary + "|",
                     "src /build/machine/tree/main.c|" + binary + "|"}),
              started.calls);
}

TEST_F(SearchTest, VmlinuxFallsBackToTheImagesOfTheRecordedRelease) {
    ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
    info->setKernelRelease("0.0.0-ff-test");
    env->setEnvironmentInfo(info);
    env->setSearchStartedCallback(&started);
    EXPECT_EQ("<none>", find("vmlinux"));  // nothing of that release exists anywhere
    EXPECT_EQ((Names{"bin vmlinux||", "bin /boot/vmlinux-0.0.0-ff-test||",
                     "bin /boot/vmlinuz-0.0.0-ff-test||"}),
              started.calls);
}

TEST_F(SearchTest, ACompressedKernelIsUnpackedOnceAndFoundAgainFromTheCache) {
    fftest::ScopedUserDataDir userData(tmp / "userdata");
    const std::string kernel(300000, 'K');
    tmp.makeFile("kernels/vmlinuz-9.9", std::string(16384, 'J') + fftest::gzip(kernel));
    dir("kernels", false, true);
    fftest::ValidatorCallback rejectCompressed(vrInvalid, "vmlinuz");
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    const std::string found = find("vmlinuz-9.9", &rejectCompressed),
                      image = found.substr(0, found.find(' '));
    EXPECT_EQ(tmp / "userdata/vmlinux_cache/", image.substr(0, image.size() - 32 - 8));
    EXPECT_EQ("/vmlinux step 2", found.substr(image.size() - 8));
    EXPECT_EQ(kernel, fftest::readFile(image));
    EXPECT_EQ(found, find("vmlinuz-9.9", &rejectCompressed));
    EXPECT_EQ(1u, log.count(" was extracted from "));  // once
}

TEST_F(SearchTest, AFileOfferedByTwoStepsIsRecordedOnce) {
    const std::string file = tmp.makeFile("dir/libx.so");
    dir("dir", false, true);
    dir("dir/sub/..", false, false, scAllFiles);  // the same directory, spelt otherwise
    fftest::FilesFoundCallback all(10);
    env->setFilesFoundCallback(&all);
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    find("libx.so");
    EXPECT_EQ(Names{file}, all.seen);
    EXPECT_EQ(1u, log.count("*** VALID_DUBLICAT "));
}

TEST_F(SearchTest, AnObserverHearsOfEveryCandidateEvenWithNoLogListening) {
    tmp.makeDir("hi/libx.so");
    const std::string file = tmp.makeFile("lo/libx.so");
    dir("hi", true, true);
    dir("gone", false, true);
    dir("lo", false, false);
    RecordingObserver observer;
    ObjectPtr<ISearchOptions> options = ISearchOptions::create();
    options->setObserver(&observer);
    ObjectPtr<IValidFile> found =
        IFileSearch::create(env, options)->findBinFile("libx.so", nullptr, nullptr, 0);
    ASSERT_TRUE(found);
    // hi/libx.so twice (iteratively, then recursively), then inside it as a directory.
    EXPECT_EQ((Names{tmp / "hi/libx.so 1", tmp / "hi/libx.so 1", tmp / "hi/libx.so/libx.so 0",
                     tmp / "gone/libx.so 0", file + " 3"}),
              observer.seen);
}

TEST_F(SearchTest, ARecursiveMissLogsEveryCandidateWhileALogListens) {
    tmp.makeDir("tree/a/b");
    tmp.makeDir("tree/c");
    dirs->addDirectory(scBinaryFiles, (tmp / "tree").c_str(), true, true);
    fftest::LogCapture log(log4cplus::INFO_LOG_LEVEL);
    EXPECT_FALSE(IFileSearch::create(env)->findBinFile("missing.so", nullptr, nullptr, 0));
    // tree/missing.so twice (iteratively, then recursively), then one per sub-directory.
    EXPECT_EQ(5u, log.count("*** DO__NOT__EXIST " + (tmp / "tree")));
}
