// The search history: keys, the three maps, replacement, and the history file. (Awkward names:
// the bad-input table; the forms of names in JSON: json_names_test.)
#include "ff_history.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>

#include "history/search_history.h"
#include "log_capture.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;

namespace {

// "category:file|binary|checksum=resolved" for every association of a history, in order.
std::string rowsOf(const ObjectPtr<ISearchHistory>& history) {
    const SearchHistory::Snapshot s = dynamic_cast<SearchHistory&>(*history).snapshot();
    std::string rows;
    int category = scBinaryFiles;
    for (const auto* entries : {&s.binaries, &s.symbols, &s.sources}) {
        for (const SearchHistory::Entry& e : *entries)
            rows += std::to_string(category) + ":" + e.key.fileName + "|" + e.key.binaryFile + "|" +
                    e.key.checksum + "=" + e.resolvedName + " ";
        ++category;
    }
    return rows;
}

std::string nameOf(const ObjectPtr<IFileAssociation>& association) {
    return association ? association->resolvedName() : "<none>";
}

}  // namespace

TEST(SearchHistory, LookupsMatchAllThreeNamesExactlyWithNullAsEmptyAndAddingAgainReplaces) {
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    history->addSymFileAssociation("a", "b", "c", "/sym");
    history->addBinFileAssociation(nullptr, "/unnamed");
    EXPECT_EQ("/sym", nameOf(history->findSymFileAssociation("a", "b", "c")));
    for (const char* binary : {"", "c", "B"})
        EXPECT_FALSE(history->findSymFileAssociation("a", binary, "c"));
    EXPECT_FALSE(history->findSymFileAssociation("a", "b", nullptr));
    EXPECT_EQ("/unnamed", nameOf(history->findBinFileAssociation("")));
    EXPECT_FALSE(history->findBinFileAssociation("./"));  // no canonicalisation

    // An association handed out keeps its name, also after a clear.
    ObjectPtr<IFileAssociation> first = history->addSrcFileAssociation("a", "b", "c", "/one");
    ObjectPtr<IFileAssociation> second = history->addSrcFileAssociation("a", "b", "c", "/two");
    EXPECT_EQ(second, history->findSrcFileAssociation("a", "b", "c"));
    history->clear(scAllFiles);
    EXPECT_EQ("/one /two", nameOf(first) + " " + nameOf(second));
    EXPECT_EQ("", rowsOf(history));

    // Categories are independent; clear empties what it names, nothing for other values.
    const std::pair<int, const char*> left[] = {{scBinaryFiles, "2:a||=/s 3:a||=/s "},
                                                {scSymbolFiles, "1:a||=/s 3:a||=/s "},
                                                {scSourceFiles, "1:a||=/s 2:a||=/s "},
                                                {0, "1:a||=/s 2:a||=/s 3:a||=/s "},
                                                {5, "1:a||=/s 2:a||=/s 3:a||=/s "}};
    for (const auto& [category, rows] : left) {
        history->addBinFileAssociation("a", "/s");
        history->addSymFileAssociation("a", "", "", "/s");
        history->addSrcFileAssociation("a", "", "", "/s");
        history->clear(static_cast<search_category_t>(category));
        EXPECT_EQ(rows, rowsOf(history)) << category;
    }
}

TEST(SearchHistoryFile, RoundTripKeepsEveryNameTheFilesPermissionsAndWhatWasLoadedBefore) {
    fftest::TempDir dir;
    ObjectPtr<ISearchHistory> saved = ISearchHistory::create(), loaded = ISearchHistory::create();
    saved->addBinFileAssociation("caf\xc3\xa9", "lone \xff byte");
    saved->addSymFileAssociation("s", "b", "9e10", "");
    saved->addSrcFileAssociation("x.c", "", "b", "/src");
    const std::string file = dir.makeFile("history.json", "old");
    ASSERT_EQ(0, ::chmod(file.c_str(), 0600));
    ASSERT_TRUE(saveSearchHistory(saved, file.c_str()));
    const std::string text = fftest::readFile(file);
    EXPECT_NE(std::string::npos, text.find("\"version\": 1"));
    EXPECT_NE(std::string::npos, text.find("\"percentEncoded\": \"lone %FF byte\""));
    struct stat st;
    ASSERT_EQ(0, ::stat(file.c_str(), &st));
    EXPECT_EQ(0600u, st.st_mode & 07777);
    EXPECT_EQ(1u, fftest::entryNames(dir.path()).size());  // no temporary file left behind

    // Loading adds to what the history holds, replacing what the file names again.
    fftest::LogCapture log;
    loaded->addBinFileAssociation("kept", "/kept");
    loaded->addBinFileAssociation("caf\xc3\xa9", "/replaced by the file");
    ASSERT_TRUE(loadSearchHistory(loaded, file.c_str()));
    saved->addBinFileAssociation("kept", "/kept");
    EXPECT_EQ(rowsOf(saved), rowsOf(loaded));
    EXPECT_EQ(0u, log.count(", at file: "));
}

TEST(SearchHistoryFile, DamagedFilesLoadEveryValidEntryAndLogEachFault) {
    const struct {
        std::string text, loaded;
        std::vector<std::string> faults;
    } cases[] = {
        {"{\"version\": 1, \"binaries\": [", "", {"is not JSON"}},
        {std::string(100000, '['), "", {"is not JSON"}},
        {"{\"binaries\": [{\"file\": \"\xff\", \"resolved\": \"x\"}]}", "", {"is not JSON"}},
        {"[]", "", {"holds array, not an object"}},
        {R"({"version": 2,
            "binaries": [ {"file": "good", "resolved": "/good", "note": "ignored"},
                          {"file": 3, "resolved": "/x"}, "text", {"resolved": "/x"},
                          {"file": {"hex": "6200"}, "resolved": "/x"} ],
            "symbols":  [ {"file": "s", "binary": {"hex": "ff"}, "checksum": "", "resolved": ""},
                          {"file": "s", "binary": "b", "resolved": "/x"},
                          {"file": {"hex": "zz"}, "binary": null, "checksum": "", "resolved": "/x"} ],
            "sources":  {"file": "x.c"},
            "kernels":  [] })",
         "1:good||=/good 2:s|\xff|= ",
         {"\"version\" is 2, not 1; reading what is understood",
          "binaries[1] \"file\" is number, not a string", "binaries[2] is string, not an object",
          "binaries[3] \"file\" is missing", "binaries[4] \"file\" contains a NUL byte",
          "symbols[1] \"checksum\" is missing",
          "symbols[2] \"file\" is not an even number of hexadecimal digits; \"binary\" is null",
          "\"sources\" is object, not an array", "unknown category \"kernels\""}},
    };
    fftest::TempDir dir;
    for (const auto& c : cases) {
        fftest::LogCapture log;
        ObjectPtr<ISearchHistory> history = ISearchHistory::create();
        EXPECT_FALSE(loadSearchHistory(history, dir.makeFile("h.json", c.text).c_str()));
        EXPECT_EQ(c.loaded, rowsOf(history));
        EXPECT_EQ(c.faults.size(), log.count(", at file: file_finder2/src/ff_history_file:"))
            << c.text.substr(0, 40);
        for (const std::string& fault : c.faults) EXPECT_EQ(1u, log.count(fault)) << fault;
    }
}

// A directory where the file should go (the final rename fails), a directory the user may
// not write to (no temporary file), a write that stops half-way at a file size limit.
TEST(SearchHistoryFile, FailedSaveKeepsTheOldFileAndLeavesNoTemporaryFile) {
    fftest::TempDir dir;
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    history->addBinFileAssociation("a", "/a");
    dir.makeFile("taken/h.json/inside", "old");
    fftest::LogCapture log;
    EXPECT_FALSE(saveSearchHistory(history, (dir / "taken/h.json").c_str()));
    EXPECT_TRUE(log.contains("Search history not saved to"));
    const std::string locked = dir.makeDir("locked"), open = dir.makeDir("open");
    const std::string file = dir.makeFile("locked/h.json", "old");
    const std::string whole = dir.makeFile("open/h.json", "the old history, longer than the limit");
    fftest::openToEveryone(dir.path());
    ASSERT_EQ(0, ::chmod(locked.c_str(), 0555));
    ASSERT_EQ(0, ::chmod(open.c_str(), 0777));
    ASSERT_EQ(0, ::chmod(whole.c_str(), 0666));
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  if (saveSearchHistory(history, file.c_str())) return false;
                  ::signal(SIGXFSZ, SIG_IGN);  // a short write instead of the signal
                  const struct rlimit limit = {16, 16};
                  return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                         !saveSearchHistory(history, whole.c_str());
              }));
    EXPECT_EQ("old", fftest::readFile(file));
    EXPECT_EQ("the old history, longer than the limit", fftest::readFile(whole));
    for (const std::string& d : {dir / "taken", locked, open})
        EXPECT_EQ(1u, fftest::entryNames(d).size()) << d;
    ::chmod(locked.c_str(), 0755);  // lets the temporary directory go
}
