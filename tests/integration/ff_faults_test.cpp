// File-system trouble during searches and archiving: directories that vanish in the middle
// of a walk, long paths, hostile names, a full disk, many threads on one archive, and
// searches that must not leak descriptors. (Locked and deep directories: files_finder_test.)
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <boost/filesystem.hpp>
#include <csignal>
#include <thread>

#include "ff_search.h"
#include "ff_search_options.h"
#include "ff_searchdirs.h"
#include "ff_searchenv.h"
#include "ff_utils.h"
#include "search/files_finder.h"
#include "search_doubles.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;
namespace fs = boost::filesystem;

namespace {

ObjectPtr<IFileSearch> searchOver(const std::string& dir, bool recursive) {
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, dir.c_str(), recursive, true);
    env->setSearchDirs(dirs);
    return IFileSearch::create(env);
}

}  // namespace

TEST(Faults, ADirectoryThatVanishesAfterItWasListedIsSkipped) {
    fftest::TempDir tmp;
    for (const char* sub : {"a", "b", "c"}) tmp.makeDir(std::string("tree/") + sub);
    // The third candidate is the first inside a sub-directory: tree was listed then, and
    // the other two sub-directories are yet to be entered. Remove those two.
    fftest::RecordingResults results;
    results.stopAt = [&](const std::string& path) {
        if (results.offers.size() == 3)
            for (const char* sub : {"/tree/a", "/tree/b", "/tree/c"})
                if (path.find(sub) == std::string::npos) fs::remove(tmp.path() + sub);
        return false;
    };
    FilesFinder finder(ssLowPrioritySearchDirs);
    finder.addSearchDirectory((tmp / "tree").c_str(), true);
    EXPECT_FALSE(finder.find("x.so", results));
    EXPECT_EQ(3u, results.offers.size());  // tree/x.so twice, then the entered one's only
}

// Asked to, a search leaves out what it cannot list, says so once, and finds the file in
// the next directory.
TEST(Faults, AnUnlistableDirectoryIsSkippedAndReportedWhenTheClientAsks) {
    fftest::TempDir tmp;
    tmp.makeFile("tree/locked/libx.so");
    const std::string file = tmp.makeFile("bins/libx.so");
    fftest::openToEveryone(tmp.path());
    ::chmod((tmp / "tree/locked").c_str(), 0);
    EXPECT_EQ(
        0, fftest::runUnprivileged([&] {
            struct : ISearchObserver {
                void candidateSeen(const char*, search_step_t, candidate_outcome_t,
                                   const char*) override {}
                void directorySkipped(const char* path, const char*) override {
                    skipped.push_back(path);
                }
                std::vector<std::string> skipped;
            } observer;
            ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
            ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
            dirs->addDirectory(scBinaryFiles, (tmp / "tree").c_str(), true, true);
            dirs->addDirectory(scBinaryFiles, (tmp / "bins").c_str(), false, false);
            env->setSearchDirs(dirs);
            try {  // by default the error reaches the caller
                IFileSearch::create(env)->findBinFile("libx.so", nullptr, nullptr, 0);
                return false;
            } catch (const fs::filesystem_error&) {
            }
            ObjectPtr<ISearchOptions> options = ISearchOptions::create();
            options->setSkipUnlistableDirectories(true);
            options->setObserver(&observer);
            ObjectPtr<IValidFile> found =
                IFileSearch::create(env, options)->findBinFile("libx.so", nullptr, nullptr, 0);
            return found && found->name() == file &&
                   observer.skipped == std::vector<std::string>{tmp / "tree/locked"};
        }));
    ::chmod((tmp / "tree/locked").c_str(), 0755);
}

TEST(Faults, PathsLongerThanPathMaxAreWalkedToTheBottomAndBreakNothing) {
    fftest::TempDir tmp;
    // Built one level at a time relative to an open directory: the whole path is longer
    // than any single system call accepts.
    const std::string component(200, 'n');
    int fd = ::open(tmp.path().c_str(), O_RDONLY | O_DIRECTORY);
    ASSERT_GE(fd, 0);
    for (int level = 0; level < 25; ++level) {
        ASSERT_EQ(0, ::mkdirat(fd, component.c_str(), 0755));
        const int next = ::openat(fd, component.c_str(), O_RDONLY | O_DIRECTORY);
        ::close(fd);
        fd = next;
        ASSERT_GE(fd, 0);
    }
    const int file = ::openat(fd, "liblong.so", O_WRONLY | O_CREAT, 0644);
    ::close(file);
    ::close(fd);
    std::string tooLong = tmp.path();
    for (int level = 0; level < 25; ++level) tooLong += "/" + component;
    tooLong += "/liblong.so";

    // Each directory is opened relative to its parent, so the walk lists even those whose
    // full names no call would take, and sees the file there: it is offered under its
    // full name, which only the container's look-up then finds too long.
    fftest::RecordingResults results;
    results.missingWanted = false;
    FilesFinder finder(ssLowPrioritySearchDirs);
    finder.addSearchDirectory(tmp.path().c_str(), true);
    EXPECT_FALSE(finder.find("liblong.so", results));
    EXPECT_EQ((std::vector<std::string>{tmp / "liblong.so", tooLong}), results.paths());

    ObjectPtr<IFileSearch> search = searchOver(tmp.path(), true);
    EXPECT_FALSE(search->findBinFile("liblong.so", nullptr, nullptr, 0));
    EXPECT_FALSE(search->findBinFile(tooLong.c_str(), nullptr, nullptr, 0));
    ::system(("rm -rf " + tmp.path() + "/" + component).c_str());  // Boost cannot remove it
}

TEST(Faults, NamesWithNewlinesBlanksAndBytesThatAreNotUtf8AreFound) {
    fftest::TempDir tmp;
    const std::string name = "lib a\nb\xff\xfe.so";
    const std::string file = tmp.makeFile("tree/sub/" + name);
    ObjectPtr<IValidFile> found =
        searchOver(tmp / "tree", true)->findBinFile(name.c_str(), nullptr, nullptr, 0);
    ASSERT_TRUE(found);
    EXPECT_EQ(file, found->name());
}

TEST(Faults, AFullDiskWhileArchivingLeavesNoPartialFileAndKeepsTheSource) {
    fftest::TempDir tmp;
    const std::string file = tmp.makeFile("big.so", std::string(256 * 1024, 'b'));
    fftest::openToEveryone(tmp.path());
    ::chmod(tmp.path().c_str(), 0777);
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  ::signal(SIGXFSZ, SIG_IGN);
                  struct rlimit limit = {64 * 1024, 64 * 1024};
                  ::setrlimit(RLIMIT_FSIZE, &limit);
                  std::string archived;
                  return utils::archiveFile(file.c_str(), (tmp / "archive").c_str(), nullptr,
                                            archived, true) == 5;
              }));
    EXPECT_TRUE(fs::exists(file));
    for (fs::recursive_directory_iterator it(tmp / "archive"), end; it != end; ++it)
        EXPECT_FALSE(fs::is_regular_file(it->status())) << it->path();
}

TEST(Faults, EightThreadsArchivingOneFileLeaveOneCompleteCopy) {
    fftest::TempDir tmp;
    const std::string contents(100000, 'c');
    const std::string file = tmp.makeFile("libshared.so", contents);
    std::atomic<int> done{0}, already{0}, other{0};
    std::vector<std::string> paths(8);
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            const unsigned int code = utils::archiveFile(file.c_str(), (tmp / "archive").c_str(),
                                                         "binaries", paths[t], false);
            (code == 0 ? done : code == 6 ? already : other)++;
        });
    }
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(1, done.load());
    EXPECT_EQ(7, already.load());
    EXPECT_EQ(0, other.load());
    for (const std::string& path : paths) EXPECT_EQ(paths[0], path);
    EXPECT_EQ(static_cast<uintmax_t>(contents.size()), fs::file_size(paths[0]));
    EXPECT_FALSE(fs::is_symlink(paths[0]));
    EXPECT_EQ(1, std::distance(fs::directory_iterator(fs::path(paths[0]).parent_path()), {}));
}

TEST(Faults, ManySearchesFoundOrNotLeaveTheDescriptorCountUnchanged) {
    fftest::TempDir tmp;
    tmp.makeFile("tree/a/liba.so");
    tmp.makeDir("tree/b/c");
    ObjectPtr<IFileSearch> search = searchOver(tmp / "tree", true);
    search->findBinFile("liba.so", nullptr, nullptr, 0);  // warm every lazy initialisation
    auto openDescriptors = [] { return fftest::entryNames("/proc/self/fd").size(); };
    const size_t before = openDescriptors();
    const int searches = std::getenv("FF_SHORT_TESTS") ? 500 : 10000;
    for (int i = 0; i < searches; ++i)
        search->findBinFile(i % 2 ? "liba.so" : "missing.so", nullptr, nullptr, 0);
    EXPECT_EQ(before, openDescriptors());
}
