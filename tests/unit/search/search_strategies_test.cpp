// Which candidates each step of each strategy offers, in which order, with which step.
#include "search/search_strategies.h"

#include <gtest/gtest.h>

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

// The system directories a strategy fills in, after the ones of the running kernel.
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
    SymFileSearchStrategy sym(const char* name, const char* binary) {
        return SymFileSearchStrategy(env.get(), {scSymbolFiles, name, binary}, "");
    }
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    RecordingResults results;
};

}  // namespace

TEST_F(StrategyTest, SystemDirectoriesOfEachCategory) {
    std::string running;
    posix::runningKernelRelease(running);
    ObjectPtr<IEditableEnvironmentInfo> info = IEditableEnvironmentInfo::create();
    info->setKernelRelease("5.10.0-test");
    env->setEnvironmentInfo(info);
    // Modules under the running kernel's release; /boot and the recorded release's debug
    // tree for "vmlinux" only (not for vmlinux-R).
    Dirs modules{{"/lib/modules", false}};
    if (!running.empty()) modules.emplace_back("/lib/modules/" + running + "/kernel/", true);
    BinFileSearchStrategy ext4 = bin("ext4"), image = bin("vmlinux"),
                          release = bin("/boot/vmlinux-5.10.0-test");
    EXPECT_EQ(modules, systemDirsOf(ext4));
    EXPECT_EQ(modules, systemDirsOf(release));
    modules.insert(modules.end(),
                   {{"/boot", false}, {"/usr/lib/debug/lib/modules/5.10.0-test", false}});
    EXPECT_EQ(modules, systemDirsOf(image));
    results.stopAt = [](const std::string&) { return true; };
    EXPECT_TRUE(ext4.findInSystemDirs(results));
    EXPECT_EQ((std::vector<Offer>{{"/lib/modules/ext4.ko", ssSystemDirs}}), results.offers);

    // Symbols: the mirror tree of the binary's directory, doubled slash and all, unless the
    // name is already inside it; sources: /usr/src and the running kernel's headers.
    SymFileSearchStrategy outside = sym("libc.so.debug", "/usr/lib/libc.so"),
                          inside = sym("/usr/lib/libc.so.debug", "/usr/lib/libc.so");
    EXPECT_EQ((Dirs{{"/usr/lib/debug", false}, {"/usr/lib/debug//usr/lib", false}}),
              systemDirsOf(outside));
    EXPECT_EQ((Dirs{{"/usr/lib/debug", false}}), systemDirsOf(inside));
    SrcFileSearchStrategy source(nullptr, {scSourceFiles, "a.c"});
    Dirs sources{{"/usr/src", false}};
    if (!running.empty()) sources.emplace_back("/usr/src/linux-headers-" + running, false);
    EXPECT_EQ(sources, systemDirsOf(source));
}

TEST_F(StrategyTest, GuestNamesSkipSystemDirsAndRetryUnderTheGuestDirectory) {
    dirs->addDirectory(scBinaryFiles, "/d", false, true);
    EXPECT_FALSE(bin("vmlinux [guest]").findInSystemDirs(results));
    EXPECT_TRUE(results.offers.empty());
    EXPECT_FALSE(bin("vmlinux [guest]").findInHighPriorityDirs(results));
    EXPECT_EQ((Paths{"/d/vmlinux [guest]", "/d/[guest]/vmlinux", "/d/vmlinux"}), results.paths());
    RecordingResults tails;
    tails.stopAt = [](const std::string& path) { return path == "/d/[guest]/lib/m.ko"; };
    EXPECT_TRUE(bin("/lib/m.ko [guest]").findInHighPriorityDirs(tails));
}

TEST_F(StrategyTest, EachStepOffersItsCandidatesWithItsStep) {
    EXPECT_FALSE(bin("lib/x.so").lookUpAbsoluteName(results));  // a relative name is not
    bin("/lib/x.so").lookUpAbsoluteName(results);
    SrcFileSearchStrategy(nullptr, {scSourceFiles, "/src/a.c"}).lookUpAbsoluteName(results);
    // Category directories come before those of every category.
    dirs->addDirectory(scAllFiles, "/all", false, false);
    dirs->addDirectory(scBinaryFiles, "/bin-low", false, false);
    dirs->addDirectory(scBinaryFiles, "/bin-high", false, true);
    dirs->addDirectory(scSymbolFiles, "/sym", false, false);
    bin("x.so").findInLowPriorityDirs(results);
    bin("x.so").findInHighPriorityDirs(results);
    EXPECT_EQ((std::vector<Offer>{{"/lib/x.so", ssAbsoluteNameLookup},
                                  {"/src/a.c", ssAbsoluteNameLookup},
                                  {"/bin-low/x.so", ssLowPrioritySearchDirs},
                                  {"/all/x.so", ssLowPrioritySearchDirs},
                                  {"/bin-high/x.so", ssHighPrioritySearchDirs}}),
              results.offers);

    // Archive directories: under the file's own directory.
    fftest::TempDir tmp;
    const std::string archived = tmp.makeFile("archive/binaries/libx.so/0123/libx.so");
    ObjectPtr<IEditableSearchDirContainer> archive = IEditableSearchDirContainer::create();
    archive->addDirectory(scBinaryFiles, (tmp / "archive/binaries").c_str(), true, true);
    env->setArchiveDirs(archive);
    RecordingResults inArchive;
    inArchive.stopAt = [&](const std::string& path) { return path == archived; };
    EXPECT_TRUE(bin("/usr/lib/libx.so").findInArchiveDirs(inArchive));
    EXPECT_EQ((Offer{archived, ssArchiveSearchDirs}), inArchive.offers.back());

    fftest::LogCapture log;
    EXPECT_FALSE(bin("/x.so").findInCacheDir(results));  // without a cache directory
    EXPECT_EQ(1u, log.count("Empty directory name., at file: file_finder2/src/ff_search:"));
}

TEST_F(StrategyTest, SymbolFileAroundItsBinary) {
    EXPECT_FALSE(sym("libx.so.debug", "/opt/libx.so").lookUpAroundBinary(results));
    EXPECT_EQ((std::vector<Offer>{{"/opt/libx.so.debug", ssAroundBinaryLookup},
                                  {"/opt/libx.debug", ssAroundBinaryLookup},
                                  {"/opt/.debug/libx.so.debug", ssAroundBinaryLookup}}),
              results.offers);
    // Equal base names: the binary with the symbol file's extension is that name again.
    RecordingResults same, none;
    sym("libx.debug", "/opt/libx.so").lookUpAroundBinary(same);
    EXPECT_EQ((Paths{"/opt/libx.debug", "/opt/.debug/libx.debug"}), same.paths());
    EXPECT_FALSE(sym("libx.debug", "").lookUpAroundBinary(none));
    EXPECT_TRUE(none.offers.empty());
}
