// The directory finder: which candidates it offers, in which order, when it stops, and
// what it raises, on trees built in a temporary directory.
#include "search/files_finder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/filesystem.hpp>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "search_doubles.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;
using fftest::RecordingResults;
namespace fs = boost::filesystem;

namespace {

constexpr unsigned int kStep = 32;
using Paths = std::vector<std::string>;
using Dirs = std::vector<std::pair<std::string, bool>>;

class FilesFinderTest : public ::testing::Test {
protected:
    // The candidates of one find() of `name` in `dirs`, each of which must carry the
    // finder's step; `found` gets find()'s answer. The container stops at `stopAt`.
    Paths offersFor(const std::string& name, const Dirs& dirs, bool* found = nullptr,
                    const std::string& stopAt = "") {
        FilesFinder finder(kStep);
        for (const auto& dir : dirs) finder.addSearchDirectory(dir.first.c_str(), dir.second);
        RecordingResults results;
        results.stopAt = [&](const std::string& path) { return path == stopAt; };
        const bool result = finder.find(name.c_str(), results);
        if (found) *found = result;
        for (const fftest::Offer& offer : results.offers) EXPECT_EQ(kStep, offer.step);
        return results.paths();
    }

    // True when a recursive find in `dir` raises filesystem_error `error` for `path`
    // (and, when given, `lastOffer` was the last candidate before it).
    static bool raises(const std::string& dir, int error, const std::string& path,
                       const std::string& lastOffer) {
        FilesFinder finder(kStep);
        finder.addSearchDirectory(dir.c_str(), true);
        RecordingResults results;
        try {
            finder.find("c.so", results);
        } catch (const fs::filesystem_error& raised) {
            return raised.code().value() == error && raised.path1() == path &&
                   (lastOffer.empty() || results.offers.back().path == lastOffer);
        }
        return false;
    }

    fftest::TempDir tree;
};

}  // namespace

TEST_F(FilesFinderTest, IterativeSearchDropsLeadingPartsOneAtATime) {
    bool found = true;
    EXPECT_TRUE(offersFor("c.so", {}, &found).empty());  // no directories, no candidate
    EXPECT_FALSE(found);
    EXPECT_EQ((Paths{"/d/a/b/c.so", "/d/b/c.so", "/d/c.so"}),
              offersFor("a/b/c.so", {{"/d", false}}, &found));
    EXPECT_FALSE(found);
    // The root element of an absolute name adds nothing: the full join comes twice.
    EXPECT_EQ((Paths{"/d/usr/lib/x.so", "/d/usr/lib/x.so", "/d/lib/x.so", "/d/x.so"}),
              offersFor("/usr/lib/x.so", {{"/d", false}}));
    EXPECT_EQ((Paths{"/d/x.so"}), offersFor("x.so", {{"/d/", false}}));
    EXPECT_TRUE(offersFor("", {{"/d", false}}).empty());
}

TEST_F(FilesFinderTest, RecursiveSearchFollowsTheIterativeOneAndStopsAtTheFirstTrueAnswer) {
    tree.makeDir("d/x/y");
    const std::string d = tree / "d";
    EXPECT_EQ((Paths{d + "/a/b/c.so", d + "/b/c.so", d + "/c.so", d + "/c.so", d + "/x/c.so",
                     d + "/x/y/c.so"}),
              offersFor("a/b/c.so", {{d, true}}));
    bool found = false;
    EXPECT_EQ((Paths{d + "/c.so", d + "/c.so", d + "/x/c.so"}),
              offersFor("c.so", {{d, true}, {"/later", false}}, &found, d + "/x/c.so"));
    EXPECT_TRUE(found);
}

TEST_F(FilesFinderTest, LoopGuardHoldsWithinOneSearchDirectoryOnly) {
    tree.makeDir("d/x");
    tree.makeSymlink("d/x/back", "..");
    const std::string d = tree / "d";
    const Paths once{d + "/c.so", d + "/c.so", d + "/x/c.so"};
    bool found = true;
    EXPECT_EQ(once, offersFor("c.so", {{d, true}}, &found));  // the link back is not followed
    EXPECT_FALSE(found);
    Paths twice = once;  // the same directory added twice is scanned twice
    twice.insert(twice.end(), once.begin(), once.end());
    EXPECT_EQ(twice, offersFor("c.so", {{d, true}, {d, true}}));
}

TEST_F(FilesFinderTest, RegularFileAsRecursiveDirectoryOffersOneJoinedCandidate) {
    const std::string file = tree.makeFile("f");
    bool found = true;
    EXPECT_EQ((Paths{file + "/a/c.so", file + "/c.so", file + "/c.so"}),
              offersFor("a/c.so", {{file, true}}, &found));
    EXPECT_FALSE(found);
    // A directory that does not exist costs only its iterative candidates.
    EXPECT_EQ((Paths{tree / "missing/c.so"}), offersFor("c.so", {{tree / "missing", true}}));
}

TEST_F(FilesFinderTest, FollowsLinksToDirectoriesAndSearchesHiddenOnes) {
    tree.makeDir("elsewhere/sub");
    tree.makeDir("d/.hidden");
    tree.makeSymlink("d/link", "../elsewhere");
    tree.makeSymlink("d/dangling", "../nowhere");
    tree.makeFile("d/file");
    const std::string d = tree / "d";
    Paths offers = offersFor("c.so", {{d, false}, {d + "/.hidden", false}, {d, true}});
    // Listing order is the file system's: compare the recursive part as a set.
    Paths recursive(offers.begin() + 3, offers.end());
    std::sort(recursive.begin(), recursive.end());
    EXPECT_EQ((Paths{d + "/.hidden/c.so", d + "/c.so", d + "/link/c.so", d + "/link/sub/c.so"}),
              recursive);
}

TEST_F(FilesFinderTest, OffersOnlyListedCandidatesWhenTheContainerWantsNoMissingOnes) {
    tree.makeFile("d/x/c.so");
    tree.makeFile("d/x/y/c.so");
    tree.makeDir("d/z/c.so");  // a directory of that name is no candidate
    const std::string d = tree / "d";
    FilesFinder finder(kStep);
    finder.addSearchDirectory(d.c_str(), true);
    RecordingResults results;
    results.missingWanted = false;
    EXPECT_FALSE(finder.find("c.so", results));
    // The iterative candidate is offered whatever the listing says.
    EXPECT_EQ((Paths{d + "/c.so", d + "/x/c.so", d + "/x/y/c.so"}), results.paths());
    EXPECT_EQ(Paths{}, results.absent);

    // A container that reports what was looked at hears of the rest by name, without a
    // look-up, and is offered the directory of that name to tell what it is.
    RecordingResults reporting;
    reporting.missingWanted = false;
    reporting.absentReported = true;
    EXPECT_FALSE(finder.find("c.so", reporting));
    Paths offered = reporting.paths();  // x and z come in the order the listing gives
    std::sort(offered.begin(), offered.end());
    EXPECT_EQ((Paths{d + "/c.so", d + "/x/c.so", d + "/x/y/c.so", d + "/z/c.so"}), offered);
    EXPECT_EQ((Paths{d + "/c.so", d + "/z/c.so/c.so"}), reporting.absent);
}

TEST_F(FilesFinderTest, KeepsDescriptorsWithinItsBoundOnATreeDeeperThanTheBound) {
    // 80 levels, each with a leaf listed after the way down, so that every level has a
    // sub-directory still to enter when the next is entered: more than the 64 levels that
    // may keep their descriptors, so the shallowest are given up and their second
    // sub-directories opened by full name.
    std::string level = tree.makeDir("d");
    for (int depth = 0; depth < 80; ++depth) {
        tree.makeDir(level.substr(tree.path().size() + 1) + "/a");
        tree.makeDir(level.substr(tree.path().size() + 1) + "/b");
        level += "/" + fs::directory_iterator(level)->path().filename().string();
    }
    // The same pre-order walk, in the same listing order, by Boost.
    Paths expected{tree / "d/c.so"};
    for (fs::recursive_directory_iterator it(tree / "d"), end; it != end; ++it)
        expected.push_back(it->path().string() + "/c.so");

    auto openDescriptors = [] { return fftest::entryNames("/proc/self/fd").size(); };
    const size_t baseline = openDescriptors();
    size_t most = 0;
    FilesFinder finder(kStep);
    finder.addSearchDirectory((tree / "d").c_str(), true);
    RecordingResults results;
    results.stopAt = [&](const std::string&) {
        most = std::max(most, openDescriptors());
        return false;
    };
    EXPECT_FALSE(finder.find("c.so", results));
    Paths offers = results.paths();
    offers.erase(offers.begin());  // the iterative candidate
    EXPECT_EQ(expected, offers);
    EXPECT_LE(most, baseline + 64 + 1);  // the levels kept, and the directory being listed
    EXPECT_EQ(baseline, openDescriptors());
}

TEST_F(FilesFinderTest, DirectoryThatCannotBeListedOrEnteredRaises) {
    const std::string locked = tree.makeDir("a/locked");
    tree.makeDir("a/locked/inner");
    const std::string closed = tree.makeDir("b/closed");
    tree.makeFile("b/closed/entry");
    fftest::openToEveryone(tree.path());
    fs::permissions(locked, fs::perms::owner_exe | fs::perms::group_exe | fs::perms::others_exe);
    fs::permissions(closed, fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read);
    // Unreadable: raised after its own candidate. Readable but not enterable: raised when
    // the status of its first entry is taken.
    EXPECT_EQ(0, fftest::runUnprivileged(
                     [&] { return raises(tree / "a", EACCES, locked, locked + "/c.so"); }));
    EXPECT_EQ(0, fftest::runUnprivileged(
                     [&] { return raises(tree / "b", EACCES, closed + "/entry", ""); }));
}

TEST_F(FilesFinderTest, LinkThatLoopsOnItselfRaisesWhenItsStatusIsTaken) {
    const std::string loop = tree.makeSymlink("d/loop", "loop");
    EXPECT_TRUE(raises(tree / "d", ELOOP, loop, ""));
}
