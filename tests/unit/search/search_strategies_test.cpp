// Which candidates each step of each strategy offers, in which order, with which step.
#include "search/search_strategies.h"

#include <gtest/gtest.h>

#include "ff_searchdirs.h"
#include "ff_searchenv.h"
#include "log_capture.h"
#include "platform/posix.h"
#include "search_doubles.h"
#include "temp_dir.h"

using namespace FF_2_13;
using fftest::Offer;
using fftest::RecordingResults;
using Dirs = std::vector<std::pair<std::string, bool>>;
using Paths = std::vector<std::string>;

namespace {

std::string runningRelease() {
    std::string release;
    posix::runningKernelRelease(release);
    return release;
}

// The system directories a strategy fills in.
Dirs systemDirsOf(IFileSearchStrategy& strategy) {
    fftest::RecordingDirs dirs;
    strategy.fillSystemDirs(dirs);
    return dirs.dirs;
}

class StrategyTest : public ::testing::Test {
protected:
    StrategyTest() { env->setSearchDirs(dirs); }
    BinFileSearchStrategy bin(const char* name) {
        return BinFileSearchStrategy(env.get(), {scBinaryFiles, name}, "");
    }
    SymFileSearchStrategy sym(const char* name, const char* binary, ISearchEnv* in = nullptr) {
        return SymFileSearchStrategy(in, {scSymbolFiles, name, binary}, "");
    }

    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
};

}  // namespace

TEST_F(StrategyTest, ModuleNameIsLookedForAsKoInTheModuleDirectories) {
    BinFileSearchStrategy strategy = bin("ext4");
    Dirs expected{{"/lib/modules", false}};
    if (!runningRelease().empty())
        expected.emplace_back("/lib/modules/" + runningRelease() + "/kernel/", true);
    EXPECT_EQ(expected, systemDirsOf(strategy));
    RecordingResults results;
    results.stopAt = [](const std::string&) { return true; };
    EXPECT_TRUE(strategy.findInSystemDirs(results));
    EXPECT_EQ((std::vector<Offer>{{"/lib/modules/ext4.ko", ssSystemDirs}}), results.offers);
}

TEST_F(StrategyTest, BootIsSearchedForVmlinuxOnly) {
    ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
    info->setKernelRelease("5.10.0-test");
    env->setEnvironmentInfo(info);
    BinFileSearchStrategy image = bin("vmlinux"), release = bin("/boot/vmlinux-5.10.0-test");
    const Dirs forImage = systemDirsOf(image);
    const size_t base = runningRelease().empty() ? 1 : 2;
    ASSERT_EQ(base + 2, forImage.size());
    EXPECT_EQ(Dirs::value_type("/boot", false), forImage[base]);
    // The release of the environment, not of the running kernel.
    EXPECT_EQ(Dirs::value_type("/usr/lib/debug/lib/modules/5.10.0-test", false),
              forImage[base + 1]);
    EXPECT_EQ(base, systemDirsOf(release).size());
}

TEST_F(StrategyTest, GuestNamesSkipSystemDirsAndRetryUnderTheGuestDirectory) {
    dirs->addDirectory(scBinaryFiles, "/d", false, true);
    BinFileSearchStrategy guest = bin("vmlinux [guest]");
    RecordingResults system, high, tails;
    EXPECT_FALSE(guest.findInSystemDirs(system));
    EXPECT_TRUE(system.offers.empty());
    EXPECT_FALSE(guest.findInHighPriorityDirs(high));
    EXPECT_EQ((Paths{"/d/vmlinux [guest]", "/d/[guest]/vmlinux", "/d/vmlinux"}), high.paths());

    tails.stopAt = [](const std::string& path) { return path == "/d/[guest]/lib/m.ko"; };
    EXPECT_TRUE(bin("/lib/m.ko [guest]").findInHighPriorityDirs(tails));
    EXPECT_EQ("/d/[guest]/lib/m.ko", tails.paths().back());
}

TEST_F(StrategyTest, OnlyAbsoluteNamesAreOfferedAsThemselves) {
    RecordingResults results;
    EXPECT_FALSE(bin("lib/x.so").lookUpAbsoluteName(results));
    EXPECT_TRUE(results.offers.empty());
    bin("/lib/x.so").lookUpAbsoluteName(results);
    EXPECT_EQ((std::vector<Offer>{{"/lib/x.so", ssAbsoluteNameLookup}}), results.offers);
    SrcFileSearchStrategy(nullptr, {scSourceFiles, "/src/a.c"}).lookUpAbsoluteName(results);
    EXPECT_EQ(2u, results.offers.size());
}

TEST_F(StrategyTest, CategoryDirectoriesComeBeforeAllFilesDirectories) {
    dirs->addDirectory(scAllFiles, "/all", false, false);
    dirs->addDirectory(scBinaryFiles, "/bin-low", false, false);
    dirs->addDirectory(scBinaryFiles, "/bin-high", false, true);
    dirs->addDirectory(scSymbolFiles, "/sym", false, false);
    BinFileSearchStrategy strategy = bin("x.so");
    RecordingResults low, high;
    strategy.findInLowPriorityDirs(low);
    strategy.findInHighPriorityDirs(high);
    EXPECT_EQ((std::vector<Offer>{{"/bin-low/x.so", ssLowPrioritySearchDirs},
                                  {"/all/x.so", ssLowPrioritySearchDirs}}),
              low.offers);
    EXPECT_EQ((std::vector<Offer>{{"/bin-high/x.so", ssHighPrioritySearchDirs}}), high.offers);
}

TEST_F(StrategyTest, ArchiveDirectoriesAreSearchedUnderTheFilesOwnDirectory) {
    fftest::TempDir tmp;
    const std::string archived = tmp.makeFile("archive/binaries/libx.so/0123/libx.so");
    ObjectPtr<IEditableSearchDirContainer> archive = IEditableSearchDirContainer::create();
    archive->addDirectory(scBinaryFiles, (tmp / "archive/binaries").c_str(), true, true);
    env->setArchiveDirs(archive);
    RecordingResults results;
    results.stopAt = [&](const std::string& path) { return path == archived; };
    EXPECT_TRUE(bin("/usr/lib/libx.so").findInArchiveDirs(results));
    EXPECT_EQ(archived, results.offers.back().path);
    for (const Offer& offer : results.offers) EXPECT_EQ(ssArchiveSearchDirs, offer.step);
}

TEST_F(StrategyTest, CacheStepWithoutCacheDirectoryLogsOneErrorLine) {
    fftest::LogCapture log;
    RecordingResults results;
    EXPECT_FALSE(bin("/x.so").findInCacheDir(results));
    EXPECT_EQ(1u, log.count("Empty directory name., at file: file_finder2/src/ff_search:"));
    EXPECT_TRUE(results.offers.empty());
}

TEST_F(StrategyTest, SymbolFileAroundItsBinary) {
    RecordingResults differ, same, none;
    EXPECT_FALSE(sym("libx.so.debug", "/opt/libx.so", env.get()).lookUpAroundBinary(differ));
    EXPECT_EQ((std::vector<Offer>{{"/opt/libx.so.debug", ssAroundBinaryLookup},
                                  {"/opt/libx.debug", ssAroundBinaryLookup},
                                  {"/opt/.debug/libx.so.debug", ssAroundBinaryLookup}}),
              differ.offers);
    // Equal base names: the binary with the symbol file's extension is that name again.
    sym("libx.debug", "/opt/libx.so", env.get()).lookUpAroundBinary(same);
    EXPECT_EQ((Paths{"/opt/libx.debug", "/opt/.debug/libx.debug"}), same.paths());
    EXPECT_FALSE(sym("libx.debug", "", env.get()).lookUpAroundBinary(none));
    EXPECT_TRUE(none.offers.empty());
}

TEST_F(StrategyTest, SymbolSystemDirsKeepTheDoubledSlashOfTheMirrorTree) {
    SymFileSearchStrategy outside = sym("libc.so.debug", "/usr/lib/libc.so");
    EXPECT_EQ((Dirs{{"/usr/lib/debug", false}, {"/usr/lib/debug//usr/lib", false}}),
              systemDirsOf(outside));
    SymFileSearchStrategy inside = sym("/usr/lib/libc.so.debug", "/usr/lib/libc.so");
    EXPECT_EQ((Dirs{{"/usr/lib/debug", false}}), systemDirsOf(inside));
}

TEST_F(StrategyTest, SourceSystemDirsAreUsrSrcAndTheRunningKernelsHeaders) {
    SrcFileSearchStrategy strategy(nullptr, {scSourceFiles, "a.c"});
    Dirs expected{{"/usr/src", false}};
    if (!runningRelease().empty())
        expected.emplace_back("/usr/src/linux-headers-" + runningRelease(), false);
    EXPECT_EQ(expected, systemDirsOf(strategy));
}
