// The persistent search directory container: round trip through the file, damaged files,
// failed writes that keep the old file, and concurrent writers.
#include "ff_persistent_dirs.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>
#include <cerrno>
#include <cstring>
#include <thread>

#include "callback_doubles.h"
#include "log_capture.h"
#include "tarnbase2/config_storage.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;
using Records = std::vector<fftest::DirRecord>;
using fftest::dirRecords;

namespace {

ObjectPtr<IPersistentSearchDirContainer> openDirs(const std::string& file) {
    return IPersistentSearchDirContainer::create(file.c_str());
}

}  // namespace

TEST(PersistentSearchDirs, RoundTripsEveryFlagAndCategoryAndWritesOnlyOnAChange) {
    fftest::TempDir tmp;
    const std::string file = tmp / "dirs.json";
    ObjectPtr<IPersistentSearchDirContainer> dirs = openDirs(file);
    EXPECT_STREQ(file.c_str(), dirs->storageFile());
    EXPECT_TRUE(dirs->clear(scBinaryFiles));  // nothing to write yet
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(7), "/x", false, false));
    EXPECT_FALSE(boost::filesystem::exists(file));
    const Records expected = {
        {scBinaryFiles, "/opt/app/bin", false, true},
        {scSymbolFiles, "/caf\xc3\xa9/debug", false, true},
        {scSourceFiles, "/latin1/\xe9\xff", true, true},  // not UTF-8
        {scAllFiles, "relative/dir", true, false},
    };
    for (const auto& [category, name, recursive, high] : expected)
        dirs->addDirectory(category, name.c_str(), recursive, false);
    for (const auto& [category, name, recursive, high] : expected)  // widens a flag
        dirs->addDirectory(category, (name + "/").c_str(), false, high);
    EXPECT_TRUE(dirs->isSaved());
    EXPECT_EQ(expected, dirRecords(*openDirs(file)));

    // As the host's storage reads it back: a name that is not UTF-8 is escaped.
    std::string stored;
    ASSERT_TRUE(tarnbase2::ConfigStorage(file).getProperty("searchDirs", stored));
    EXPECT_NE(std::string::npos,
              stored.find(R"({"searchCategory":{"category":"sources"},"searchDirectory":)"
                          R"({"name":{"percentEncoded":"/latin1/%E9%FF"},"priority":"high",)"
                          R"("recursive":true}})"))
        << stored;
    boost::filesystem::remove(file);
    dirs->addDirectory(scBinaryFiles, "/opt/app/bin/", false, false);  // no change
    EXPECT_FALSE(boost::filesystem::exists(file));
    EXPECT_TRUE(dirs->save());
    EXPECT_TRUE(boost::filesystem::exists(file));
}

// What is valid loads, every fault is logged once, and the damaged file stays as it is
// until the first change, which keeps it beside as ".corrupt".
TEST(PersistentSearchDirs, DamagedFilesLoadWhatIsValidAndAreKeptOnTheFirstChange) {
    // An entry of the file, its fields given as JSON.
    auto e = [](std::string category, std::string name, std::string recursive,
                std::string priority) {
        return R"({"searchCategory": {"category": )" + category +
               R"(}, "searchDirectory": {"name": )" + name + R"(, "recursive": )" + recursive +
               R"(, "priority": )" + priority + "}}, ";
    };
    const struct {
        std::string content;
        Records loaded;
        size_t lines;  // logged
        std::vector<std::string> faults;
    } cases[] = {
        {"{\"searchDirs\": [" + e(R"("symbols")", R"("/good")", "true", R"("high")") +
             e(R"("kernels")", R"("/x")", "true", R"("low")") +
             e(R"("binaries")", "42", "true", R"("low")") +
             e(R"("binaries")", R"("/x")", R"("yes")", R"("low")") +
             e(R"("binaries")", R"("/x")", "true", R"("urgent")") +
             R"({"searchCategory": {"category": "all"}, "searchDirectory": {"name": "/x"}}, )"
             R"({"searchDirectory": {"name": "/x", "recursive": true, "priority": "low"}}, )" +
             e(R"("sources")", "[47, 233]", "false",
               R"("low")") +  // not UTF-8, as earlier versions wrote it
             R"("just text", 17], "other": 1})",
         {{scSymbolFiles, "/good", true, true}, {scSourceFiles, "/\xe9", false, false}},
         8,
         {"entry 2 of", "unknown category \"kernels\"",
          "\"searchDirectory.name\" is number, not a string",
          "\"searchDirectory.recursive\" is not true or false: \"yes\"", "\"urgent\"",
          "missing \"searchDirectory.recursive\"", "missing \"searchCategory\"",
          "the entry is not an object"}},
        // Not JSON at all (the storage's reading), and a property that is not a list (ours).
        {"{\"searchDirs\": [{\"searchCat", {}, 1, {"Search directories not loaded: "}},
        {"{\"searchDirs\": {\"a\": 1}}", {}, 1, {"Search directories not loaded: "}},
    };
    fftest::TempDir tmp;
    for (const auto& c : cases) {
        const std::string file = tmp.makeFile("dirs.json", c.content);
        boost::filesystem::remove(file + ".corrupt");
        fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
        ObjectPtr<IPersistentSearchDirContainer> dirs = openDirs(file);
        EXPECT_EQ(c.loaded, dirRecords(*dirs));
        EXPECT_EQ(c.lines, log.lines().size()) << ::testing::PrintToString(log.texts());
        for (const std::string& fault : c.faults) EXPECT_TRUE(log.contains(fault)) << fault;
        EXPECT_TRUE(log.contains("file_finder2/src/ff_persistent_dirs:"));
        EXPECT_EQ(c.content, fftest::readFile(file));

        dirs->addDirectory(scBinaryFiles, "/new", false, false);
        EXPECT_EQ(c.content, fftest::readFile(file + ".corrupt"));
        Records now = c.loaded;
        now.insert(now.begin(), {scBinaryFiles, "/new", false, false});
        dirs = ObjectPtr<IPersistentSearchDirContainer>();
        log.clear();
        EXPECT_EQ(now, dirRecords(*openDirs(file)));
        EXPECT_TRUE(log.lines().empty());
    }
}

TEST(PersistentSearchDirs, FailedWritesKeepTheOldFileNoTemporaryAndTheChangeInMemory) {
    fftest::TempDir tmp;
    const std::string readOnly = tmp.makeDir("ro"), full = tmp.makeDir("full");
    for (const std::string& dir : {readOnly, full})
        openDirs(dir + "/dirs.json")->addDirectory(scBinaryFiles, "/old", true, false);
    const std::string before = fftest::readFile(full + "/dirs.json");
    fftest::openToEveryone(tmp.path());
    ::chmod(readOnly.c_str(), 0555);
    ::chmod(full.c_str(), 0777);
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  // The directory refuses the temporary file: the change stays in memory,
                  // unsaved, and save() fails again.
                  ObjectPtr<IPersistentSearchDirContainer> dirs = openDirs(readOnly + "/dirs.json");
                  dirs->addDirectory(scBinaryFiles, "/new", false, false);
                  if (dirs->isSaved() || dirRecords(*dirs).size() != 2 || dirs->save())
                      return false;
                  // Files may grow to 64 bytes: the new document does not fit.
                  ::signal(SIGXFSZ, SIG_IGN);
                  const struct rlimit limit = {64, 64};
                  if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return false;
                  fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
                  ObjectPtr<IPersistentSearchDirContainer> cut = openDirs(full + "/dirs.json");
                  cut->addDirectory(scSymbolFiles, "/a/rather/long/name/that/does/not/fit", 0, 0);
                  return !cut->isSaved() && log.contains(std::strerror(EFBIG));
              }));
    for (const std::string& dir : {readOnly, full}) {
        EXPECT_EQ(before, fftest::readFile(dir + "/dirs.json")) << dir;
        EXPECT_EQ(1u, fftest::entryNames(dir).size()) << dir;
    }
}

TEST(PersistentSearchDirs, WritersOnHandlesOfOneFileAreSerialisedAndAllLand) {
    fftest::TempDir tmp;
    const std::string file = tmp / "dirs.json";
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&, t] {
            // A handle each, as independent parts of a host would, some through another
            // spelling of the file's name: all share one list.
            ObjectPtr<IPersistentSearchDirContainer> dirs =
                openDirs(t % 2 ? file : tmp.path() + "/./dirs.json");
            for (int i = 0; i < 25; ++i) {
                const std::string name = "/t" + std::to_string(t) + "/d" + std::to_string(i);
                dirs->addDirectory(scSourceFiles, name.c_str(), i % 2 == 0, false);
                if (i == 20 && t == 0) dirs->clear(scBinaryFiles);
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(100u, dirRecords(*openDirs(file)).size());
    EXPECT_EQ(1u, fftest::entryNames(tmp.path()).size());
}
