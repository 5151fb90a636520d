// Which candidates each step of each strategy offers, in which order, with which step.
#include "ff_search_strategy.h"

#include <gtest/gtest.h>

#include "ff_posix.h"
#include "ff_searchdirs.h"
#include "ff_searchenv.h"
#include "log_capture.h"
#include "search_doubles.h"
#include "temp_dir.h"

using namespace FF_2_13;
using fftest::Offer;
using fftest::RecordingDirs;
using fftest::RecordingResults;

namespace {

std::string runningRelease() {
    std::string release;
    posix::runningKernelRelease(release);
    return release;
}

struct Env {
    Env() : env(IEditableSearchEnv::create()), dirs(IEditableSearchDirContainer::create()) {
        env->setSearchDirs(dirs);
    }
    ObjectPtr<IEditableSearchEnv> env;
    ObjectPtr<IEditableSearchDirContainer> dirs;
};

}  // namespace

TEST(BinStrategy, ModuleNameIsLookedForAsKoInTheModuleDirectories) {
    fftest::UnusedValidator validator;
    Env e;
    BinFileSearchStrategy strategy(e.env.get(), "ext4", "", validator);
    RecordingDirs dirs;
    strategy.fillSystemDirs(dirs);
    ASSERT_GE(dirs.dirs.size(), 1u);
    EXPECT_EQ(std::make_pair(std::string("/lib/modules"), false), dirs.dirs[0]);
    if (!runningRelease().empty()) {
        ASSERT_EQ(2u, dirs.dirs.size());
        EXPECT_EQ(std::make_pair("/lib/modules/" + runningRelease() + "/kernel/", true),
                  dirs.dirs[1]);
    }
    RecordingResults results;
    results.stopAt = [](const std::string&) { return true; };
    EXPECT_TRUE(strategy.findInSystemDirs(results));
    EXPECT_EQ((std::vector<Offer>{{"/lib/modules/ext4.ko", ssSystemDirs}}), results.offers);
}

TEST(BinStrategy, BootIsSearchedForVmlinuxOnly) {
    fftest::UnusedValidator validator;
    Env e;
    ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
    info->setKernelRelease("5.10.0-test");
    e.env->setEnvironmentInfo(info);

    RecordingDirs forImage;
    BinFileSearchStrategy(e.env.get(), "vmlinux", "", validator).fillSystemDirs(forImage);
    const size_t base = runningRelease().empty() ? 1 : 2;
    ASSERT_EQ(base + 2, forImage.dirs.size());
    EXPECT_EQ(std::make_pair(std::string("/boot"), false), forImage.dirs[base]);
    EXPECT_EQ(std::make_pair(std::string("/usr/lib/debug/lib/modules/5.10.0-test"), false),
              forImage.dirs[base + 1]);

    RecordingDirs forRelease;
    BinFileSearchStrategy(e.env.get(), "/boot/vmlinux-5.10.0-test", "", validator)
        .fillSystemDirs(forRelease);
    EXPECT_EQ(base, forRelease.dirs.size());
}

TEST(BinStrategy, GuestNamesSkipSystemDirsAndRetryUnderTheGuestDirectory) {
    fftest::UnusedValidator validator;
    Env e;
    e.dirs->addDirectory(scBinaryFiles, "/d", false, true);
    BinFileSearchStrategy strategy(e.env.get(), "vmlinux [guest]", "", validator);
    RecordingResults system;
    EXPECT_FALSE(strategy.findInSystemDirs(system));
    EXPECT_TRUE(system.offers.empty());

    RecordingResults high;
    EXPECT_FALSE(strategy.findInHighPriorityDirs(high));
    EXPECT_EQ((std::vector<std::string>{"/d/vmlinux [guest]", "/d/[guest]/vmlinux", "/d/vmlinux"}),
              high.paths());

    BinFileSearchStrategy module(e.env.get(), "/lib/m.ko [guest]", "", validator);
    RecordingResults tails;
    tails.stopAt = [](const std::string& path) { return path == "/d/[guest]/lib/m.ko"; };
    EXPECT_TRUE(module.findInHighPriorityDirs(tails));
    EXPECT_EQ("/d/[guest]/lib/m.ko", tails.paths().back());
}

TEST(BasicStrategy, OnlyAbsoluteNamesAreOfferedAsThemselves) {
    fftest::UnusedValidator validator;
    Env e;
    RecordingResults results;
    EXPECT_FALSE(
        BinFileSearchStrategy(e.env.get(), "lib/x.so", "", validator).lookUpAbsoluteName(results));
    EXPECT_TRUE(results.offers.empty());
    BinFileSearchStrategy(e.env.get(), "/lib/x.so", "", validator).lookUpAbsoluteName(results);
    EXPECT_EQ((std::vector<Offer>{{"/lib/x.so", ssAbsoluteNameLookup}}), results.offers);
    SrcFileSearchStrategy(nullptr, "/src/a.c", "", "", validator).lookUpAbsoluteName(results);
    EXPECT_EQ(2u, results.offers.size());
}

TEST(BasicStrategy, CategoryDirectoriesComeBeforeAllFilesDirectories) {
    fftest::UnusedValidator validator;
    Env e;
    e.dirs->addDirectory(scAllFiles, "/all", false, false);
    e.dirs->addDirectory(scBinaryFiles, "/bin-low", false, false);
    e.dirs->addDirectory(scBinaryFiles, "/bin-high", false, true);
    e.dirs->addDirectory(scSymbolFiles, "/sym", false, false);
    BinFileSearchStrategy strategy(e.env.get(), "x.so", "", validator);
    RecordingResults low, high;
    strategy.findInLowPriorityDirs(low);
    strategy.findInHighPriorityDirs(high);
    EXPECT_EQ((std::vector<Offer>{{"/bin-low/x.so", ssLowPrioritySearchDirs},
                                  {"/all/x.so", ssLowPrioritySearchDirs}}),
              low.offers);
    EXPECT_EQ((std::vector<Offer>{{"/bin-high/x.so", ssHighPrioritySearchDirs}}), high.offers);
}

TEST(BasicStrategy, ArchiveDirectoriesAreSearchedUnderTheFilesOwnDirectory) {
    fftest::TempDir tmp;
    const std::string archived = tmp.makeFile("archive/binaries/libx.so/0123/libx.so");
    fftest::UnusedValidator validator;
    Env e;
    ObjectPtr<IEditableSearchDirContainer> archive = IEditableSearchDirContainer::create();
    archive->addDirectory(scBinaryFiles, (tmp / "archive/binaries").c_str(), true, true);
    e.env->setArchiveDirs(archive);
    BinFileSearchStrategy strategy(e.env.get(), "/usr/lib/libx.so", "", validator);
    RecordingResults results;
    results.stopAt = [&](const std::string& path) { return path == archived; };
    EXPECT_TRUE(strategy.findInArchiveDirs(results));
    EXPECT_EQ(archived, results.offers.back().path);
    for (const Offer& offer : results.offers) EXPECT_EQ(ssArchiveSearchDirs, offer.step);
}

TEST(BasicStrategy, CacheStepWithoutCacheDirectoryLogsOneErrorLine) {
    fftest::UnusedValidator validator;
    Env e;
    fftest::LogCapture log;
    RecordingResults results;
    EXPECT_FALSE(
        BinFileSearchStrategy(e.env.get(), "/x.so", "", validator).findInCacheDir(results));
    EXPECT_EQ(1u, log.count("Empty directory name., at file: file_finder2/src/ff_search:"));
    EXPECT_TRUE(results.offers.empty());
}

TEST(BasicStrategy, NullEnvironmentFindsNothingSilently) {
    fftest::UnusedValidator validator;
    BinFileSearchStrategy strategy(nullptr, "x.so", "", validator);
    RecordingResults results;
    EXPECT_FALSE(strategy.findInArchiveDirs(results));
    EXPECT_FALSE(strategy.findInHighPriorityDirs(results));
    EXPECT_FALSE(strategy.findInLowPriorityDirs(results));
    EXPECT_FALSE(strategy.findInCacheDir(results));
    EXPECT_TRUE(results.offers.empty());
    EXPECT_TRUE(strategy.getSearchStepsIterator(0));  // the default steps
}

TEST(SymStrategy, AroundBinaryCandidates) {
    fftest::UnusedValidator validator;
    Env e;
    SymFileSearchStrategy differ(e.env.get(), "libx.so.debug", "", "/opt/libx.so", "", "",
                                 validator);
    RecordingResults results;
    EXPECT_FALSE(differ.lookUpAroundBinary(results));
    EXPECT_EQ((std::vector<Offer>{{"/opt/libx.so.debug", ssAroundBinaryLookup},
                                  {"/opt/libx.debug", ssAroundBinaryLookup},
                                  {"/opt/.debug/libx.so.debug", ssAroundBinaryLookup}}),
              results.offers);

    SymFileSearchStrategy same(e.env.get(), "libx.debug", "", "/opt/libx.so", "", "", validator);
    RecordingResults sameBase;
    same.lookUpAroundBinary(sameBase);
    EXPECT_EQ((std::vector<std::string>{"/opt/libx.debug", "/opt/.debug/libx.debug"}),
              sameBase.paths());

    SymFileSearchStrategy noBinary(e.env.get(), "libx.debug", "", "", "", "", validator);
    RecordingResults none;
    EXPECT_FALSE(noBinary.lookUpAroundBinary(none));
    EXPECT_TRUE(none.offers.empty());
}

TEST(SymStrategy, SystemDirsKeepTheDoubledSlashOfTheMirrorTree) {
    fftest::UnusedValidator validator;
    RecordingDirs dirs;
    SymFileSearchStrategy(nullptr, "libc.so.debug", "", "/usr/lib/libc.so", "", "", validator)
        .fillSystemDirs(dirs);
    EXPECT_EQ((std::vector<std::pair<std::string, bool>>{{"/usr/lib/debug", false},
                                                         {"/usr/lib/debug//usr/lib", false}}),
              dirs.dirs);
    RecordingDirs inside;
    SymFileSearchStrategy(nullptr, "/usr/lib/libc.so.debug", "", "/usr/lib/libc.so", "", "",
                          validator)
        .fillSystemDirs(inside);
    EXPECT_EQ(1u, inside.dirs.size());
}

TEST(SrcStrategy, SystemDirsAreUsrSrcAndTheRunningKernelsHeaders) {
    fftest::UnusedValidator validator;
    RecordingDirs dirs;
    SrcFileSearchStrategy(nullptr, "a.c", "", "", validator).fillSystemDirs(dirs);
    ASSERT_GE(dirs.dirs.size(), 1u);
    EXPECT_EQ(std::make_pair(std::string("/usr/src"), false), dirs.dirs[0]);
    if (!runningRelease().empty()) {
        EXPECT_EQ(std::make_pair("/usr/src/linux-headers-" + runningRelease(), false),
                  dirs.dirs[1]);
    }
}
