// The persistent search directory container: round trip through the file, damaged
// files, failed writes that keep the old file, and concurrent writers.
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

namespace {

using Record = fftest::DirRecord;
using fftest::dirRecords;

ObjectPtr<IPersistentSearchDirContainer> openDirs(const std::string& file) {
    return IPersistentSearchDirContainer::create(file.c_str());
}

std::string entry(const std::string& category, const std::string& name, const char* recursive,
                  const char* priority) {
    return R"({"searchCategory": {"category": )" + category + R"(}, "searchDirectory": {"name": )" +
           name + R"(, "recursive": )" + recursive + R"(, "priority": )" + priority + "}}";
}

}  // namespace

TEST(PersistentSearchDirs, RoundTripsEveryNameAndFlagThroughTheFile) {
    fftest::TempDir tmp;
    const std::string file = tmp / "dirs.json";
    // Awkward names of every kind are in the bad-input table; here every flag and category.
    const std::vector<Record> expected = {
        {scBinaryFiles, "/opt/app/bin", false, false},
        {scSymbolFiles, "/caf\xc3\xa9/debug", false, true},
        {scSourceFiles, "/latin1/\xe9\xff", true, true},  // not UTF-8
        {scAllFiles, "relative/dir", true, false},
    };
    {
        ObjectPtr<IPersistentSearchDirContainer> dirs = openDirs(file);
        ASSERT_TRUE(dirs);
        EXPECT_STREQ(file.c_str(), dirs->storageFile());
        for (const auto& [category, name, recursive, high] : expected)
            dirs->addDirectory(category, name.c_str(), recursive, high);
        dirs->addDirectory(scBinaryFiles, "/opt/app/bin/", false, true);  // widens a flag
        EXPECT_TRUE(dirs->isSaved());
    }
    std::vector<Record> withFlag = expected;
    std::get<3>(withFlag[0]) = true;
    EXPECT_EQ(withFlag, dirRecords(*openDirs(file)));

    // The stored form, as the host's storage reads it back: a name that is not UTF-8 is
    // escaped.
    std::string stored;
    ASSERT_TRUE(tarnbase2::ConfigStorage(file).getProperty("searchDirs", stored));
    EXPECT_NE(std::string::npos,
              stored.find(R"({"searchCategory":{"category":"sources"},"searchDirectory":)"
                          R"({"name":{"percentEncoded":"/latin1/%E9%FF"},"priority":"high",)"
                          R"("recursive":true}})"))
        << stored;
}

TEST(PersistentSearchDirs, MissingFileIsEmptyAndWrittenOnlyOnARealChange) {
    fftest::TempDir tmp;
    const std::string file = tmp / "dirs.json";
    ObjectPtr<IPersistentSearchDirContainer> dirs = openDirs(file);
    EXPECT_TRUE(dirRecords(*dirs).empty());
    EXPECT_TRUE(dirs->clear(scBinaryFiles));  // an empty list: nothing to write
    EXPECT_FALSE(boost::filesystem::exists(file));
    EXPECT_FALSE(dirs->addDirectory(static_cast<search_category_t>(7), "/x", false, false));
    EXPECT_FALSE(boost::filesystem::exists(file));

    dirs->addDirectory(scBinaryFiles, "/x", false, false);
    ASSERT_TRUE(boost::filesystem::exists(file));
    boost::filesystem::remove(file);
    dirs->addDirectory(scBinaryFiles, "/x/", false, false);  // same directory, same flags
    EXPECT_FALSE(boost::filesystem::exists(file));
    EXPECT_TRUE(dirs->save());
    EXPECT_TRUE(boost::filesystem::exists(file));
}

TEST(PersistentSearchDirs, DamagedEntriesAreLoggedSkippedAndKeptInTheOldFile) {
    fftest::TempDir tmp;
    const std::string content =
        "{\"searchDirs\": [" + entry(R"("symbols")", R"("/good")", "true", R"("high")") + ",\n" +
        entry(R"("kernels")", R"("/x")", "true", R"("low")") + ",\n" +
        entry(R"("binaries")", "42", "true", R"("low")") + ",\n" +
        entry(R"("binaries")", R"("/x")", R"("yes")", R"("low")") + ",\n" +
        entry(R"("binaries")", R"("/x")", "true", R"("urgent")") + ",\n" +
        R"({"searchCategory": {"category": "all"}, "searchDirectory": {"name": "/x"}})" + ",\n" +
        R"({"searchDirectory": {"name": "/x", "recursive": true, "priority": "low"}})" + ",\n" +
        R"("just text", 17,)" + "\n" +
        // As earlier versions wrote a name that is not UTF-8.
        entry(R"("sources")", "[47, 233]", "false", R"("low")") + "], \"other\": 1}";
    const std::string file = tmp.makeFile("dirs.json", content);

    fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
    ObjectPtr<IPersistentSearchDirContainer> dirs = openDirs(file);
    EXPECT_EQ((std::vector<Record>{{scSymbolFiles, "/good", true, true},
                                   {scSourceFiles, "/\xe9", false, false}}),
              dirRecords(*dirs));
    EXPECT_EQ(8u, log.count(" skipped: ")) << ::testing::PrintToString(log.texts());
    for (const char* what :
         {"entry 2 of", "unknown category \"kernels\"", "entry 3 of",
          "\"searchDirectory.name\" is number, not a string",
          "\"searchDirectory.recursive\" is not true or false: \"yes\"", "\"urgent\"",
          "missing \"searchDirectory.recursive\"", "missing \"searchCategory\"",
          "the entry is not an object", "file_finder2/src/ff_persistent_dirs:"})
        EXPECT_TRUE(log.contains(what)) << what;
    EXPECT_EQ(content, fftest::readFile(file));  // untouched until a change

    dirs->addDirectory(scBinaryFiles, "/new", false, false);
    EXPECT_EQ(content, fftest::readFile(file + ".corrupt"));
    dirs = ObjectPtr<IPersistentSearchDirContainer>();
    log.clear();
    EXPECT_EQ((std::vector<Record>{{scBinaryFiles, "/new", false, false},
                                   {scSymbolFiles, "/good", true, true},
                                   {scSourceFiles, "/\xe9", false, false}}),
              dirRecords(*openDirs(file)));
    EXPECT_TRUE(log.lines().empty());
}

TEST(PersistentSearchDirs, UnparsableFileLoadsNothingAndIsKeptOnTheNextChange) {
    fftest::TempDir tmp;
    // Not JSON at all (the storage's reading), and a property that is not a list (ours).
    for (const std::string content :
         {"{\"searchDirs\": [{\"searchCat", "{\"searchDirs\": {\"a\": 1}}"}) {
        const std::string file = tmp.makeFile("dirs.json", content);
        fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
        ObjectPtr<IPersistentSearchDirContainer> dirs = openDirs(file);
        EXPECT_TRUE(dirRecords(*dirs).empty());
        EXPECT_EQ(1u, log.count("Search directories not loaded: ")) << content;
        EXPECT_EQ(content, fftest::readFile(file));
        dirs->addDirectory(scAllFiles, "/x", false, false);
        EXPECT_EQ(content, fftest::readFile(file + ".corrupt"));
        boost::filesystem::remove(file + ".corrupt");
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
                  // As an ordinary user the directory refuses the temporary file: the change stays
                  // in memory, unsaved, and save() fails again.
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
                  cut->addDirectory(scSymbolFiles,
                                    "/a/rather/long/directory/name/that/does/not/fit", false,
                                    false);
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
            // Each thread on a handle of its own, as independent parts of a host would, and
            // some through another spelling of the file's name: all share one list.
            ObjectPtr<IPersistentSearchDirContainer> dirs =
                openDirs(t % 2 ? file : tmp.path() + "/./dirs.json");
            for (int i = 0; i < 25; ++i) {
                std::string name = "/t" + std::to_string(t) + "/d" + std::to_string(i);
                dirs->addDirectory(scSourceFiles, name.c_str(), i % 2 == 0, false);
                if (i == 20 && t == 0) dirs->clear(scBinaryFiles);
            }
        });
    for (std::thread& t : threads) t.join();
    EXPECT_EQ(100u, dirRecords(*openDirs(file)).size());
    EXPECT_EQ(1u, fftest::entryNames(tmp.path()).size());
}
