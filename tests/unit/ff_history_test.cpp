// The search history: keys, the three maps, replacement, threads, and the history file.
#include "ff_history.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>
#include <csignal>
#include <fstream>
#include <sstream>
#include <thread>
#include <tuple>
#include <vector>

#include "backoff_watch.h"
#include "ff_history_impl.h"
#include "log_capture.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;

namespace {

std::string nameOf(const ObjectPtr<IFileAssociation>& association) {
    return association ? association->resolvedName() : "<none>";
}

// Category, file, binary, checksum, resolved: every association of a history, in order.
using Row = std::tuple<int, std::string, std::string, std::string, std::string>;
std::vector<Row> rowsOf(const ObjectPtr<ISearchHistory>& history) {
    const SearchHistory::Snapshot s = dynamic_cast<SearchHistory&>(*history).snapshot();
    std::vector<Row> rows;
    int category = scBinaryFiles;
    for (const auto* entries : {&s.binaries, &s.symbols, &s.sources}) {
        for (const SearchHistory::Entry& e : *entries)
            rows.emplace_back(category, e.key.fileName, e.key.binaryFile, e.key.checksum,
                              e.resolvedName);
        ++category;
    }
    return rows;
}

std::string readText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

size_t entriesIn(const std::string& directory) {
    return std::distance(boost::filesystem::directory_iterator(directory),
                         boost::filesystem::directory_iterator());
}

}  // namespace

TEST(SearchHistory, LookupsMatchAllThreeNamesExactlyWithNullAsEmpty) {
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    history->addSymFileAssociation("a", "b", "c", "/sym");
    history->addBinFileAssociation(nullptr, "/unnamed");
    history->addBinFileAssociation("lib.so", nullptr);
    EXPECT_EQ("/sym", nameOf(history->findSymFileAssociation("a", "b", "c")));
    for (const char* binary : {"", "c", "B"})
        EXPECT_FALSE(history->findSymFileAssociation("a", binary, "c"));
    EXPECT_FALSE(history->findSymFileAssociation("a", "b", nullptr));
    EXPECT_FALSE(history->findSymFileAssociation("A", "b", "c"));
    EXPECT_EQ("/unnamed", nameOf(history->findBinFileAssociation("")));
    EXPECT_EQ("", nameOf(history->findBinFileAssociation("lib.so")));
    EXPECT_FALSE(history->findBinFileAssociation("./lib.so"));  // no canonicalisation
}

TEST(AssociationKey, OrdersByFileThenBinaryThenChecksumAsBytes) {
    using Key = SearchHistory::AssociationKey;
    const std::vector<std::pair<Key, Key>> lessThan = {
        {{"A", "", ""}, {"a", "", ""}},         // upper case first
        {{"ab", "", ""}, {"abc", "", ""}},      // a prefix first
        {{"z", "", ""}, {"\xc3\xa9", "", ""}},  // bytes compare unsigned
        {{"a", "z", "z"}, {"b", "a", "a"}},     // the file name decides first
        {{"a", "b", "z"}, {"a", "c", "a"}},     // then the binary
        {{"a", "b", "c"}, {"a", "b", "d"}},     // then the checksum
    };
    for (const auto& pair : lessThan) {
        EXPECT_TRUE(pair.first < pair.second) << pair.first.fileName << " " << pair.second.fileName;
        EXPECT_FALSE(pair.second < pair.first) << pair.first.fileName;
    }
    const Key empty("", "", ""), null(nullptr, nullptr, nullptr);
    EXPECT_FALSE(empty < null);
    EXPECT_FALSE(null < empty);
}

TEST(SearchHistory, CategoriesAreIndependentAndClearEmptiesOnlyWhatItNames) {
    const Row bin{1, "a", "", "", "/bin"}, sym{2, "a", "", "", "/sym"}, src{3, "a", "", "", "/src"};
    const std::vector<std::pair<int, std::vector<Row>>> leftAfterClear = {
        {scBinaryFiles, {sym, src}}, {scSymbolFiles, {bin, src}},
        {scSourceFiles, {bin, sym}}, {scAllFiles, {}},
        {0, {bin, sym, src}},        {5, {bin, sym, src}},
        {-1, {bin, sym, src}}};
    for (const auto& c : leftAfterClear) {
        ObjectPtr<ISearchHistory> history = ISearchHistory::create();
        history->addBinFileAssociation("a", "/bin");
        history->addSymFileAssociation("a", "", "", "/sym");
        history->addSrcFileAssociation("a", "", "", "/src");
        history->clear(static_cast<search_category_t>(c.first));
        EXPECT_EQ(c.second, rowsOf(history)) << "clear(" << c.first << ")";
    }
}

TEST(SearchHistory, AddingAgainReplacesWhileEarlierAssociationsKeepTheirNames) {
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    ObjectPtr<IFileAssociation> first = history->addSrcFileAssociation("a", "b", "c", "/one");
    ObjectPtr<IFileAssociation> second = history->addSrcFileAssociation("a", "b", "c", "/two");
    EXPECT_EQ(second, history->findSrcFileAssociation("a", "b", "c"));
    EXPECT_EQ("/one", nameOf(first));
    history->clear(scAllFiles);
    EXPECT_EQ("/two", nameOf(second));
    EXPECT_FALSE(history->findSrcFileAssociation("a", "b", "c"));
}

TEST(SearchHistory, ThreadsAddingAndFindingSeeOnlyValuesThatWereAdded) {
    fftest::BackoffWatch yieldInsteadOfSleeping;
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    constexpr int kThreads = 4, kKeys = 200;
    auto key = [](int t, int k) { return std::to_string(t) + "/" + std::to_string(k); };
    std::vector<int> strangeFinds(kThreads, 0);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int round = 0; round < 2; ++round)
                for (int k = 0; k < kKeys; ++k) {
                    const std::string mine = key(t, k), other = key((t + 1) % kThreads, k);
                    const std::string resolved = mine + "#" + std::to_string(round);
                    history->addSymFileAssociation(mine.c_str(), "bin", "sum", resolved.c_str());
                    // Another thread's key: absent, or one of the two names it adds.
                    const std::string found =
                        nameOf(history->findSymFileAssociation(other.c_str(), "bin", "sum"));
                    if (found != "<none>" && found != other + "#0" && found != other + "#1")
                        ++strangeFinds[t];
                }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(std::vector<int>(kThreads, 0), strangeFinds);
    const std::vector<Row> rows = rowsOf(history);
    ASSERT_EQ(size_t(kThreads * kKeys), rows.size());
    for (const Row& row : rows) EXPECT_EQ(std::get<1>(row) + "#1", std::get<4>(row));
}

TEST(SearchHistoryFile, RoundTripKeepsEveryNameByteForByteAndTheFilesPermissions) {
    fftest::TempDir dir;
    const std::vector<std::string> names = {
        "/usr/lib/libc.so.6",
        "caf\xc3\xa9 \xf0\x9f\x98\x80",  // valid UTF-8 stays text
        "line\nbreak\t\"quoted\" back\\slash",
        "lone \xff byte",
        "\x80 continuation",
        "overlong \xc0\xaf",
        "surrogate \xed\xa0\x80",
        "cut \xe2\x82",
        ""};
    ObjectPtr<ISearchHistory> saved = ISearchHistory::create();
    for (size_t i = 0; i < names.size(); ++i) {
        const char* n = names[i].c_str();
        const char* other = names[(i + 1) % names.size()].c_str();
        saved->addBinFileAssociation(n, other);
        saved->addSymFileAssociation(n, other, "9e10", n);
        saved->addSrcFileAssociation("x.c", n, other, "");
    }
    const std::string file = dir.makeFile("history.json", "old");
    ASSERT_EQ(0, ::chmod(file.c_str(), 0600));
    ASSERT_TRUE(saveSearchHistory(saved, file.c_str()));
    const std::string text = readText(file);
    EXPECT_NE(std::string::npos, text.find("\"version\": 1"));
    EXPECT_NE(std::string::npos, text.find("\"caf\xc3\xa9 \xf0\x9f\x98\x80\""));
    EXPECT_NE(std::string::npos, text.find("\"hex\": \"6c6f6e6520ff2062797465\""));
    struct stat st;
    ASSERT_EQ(0, ::stat(file.c_str(), &st));
    EXPECT_EQ(0600u, st.st_mode & 07777);
    EXPECT_EQ(1u, entriesIn(dir.path()));  // no temporary file left behind

    fftest::LogCapture log;
    ObjectPtr<ISearchHistory> loaded = ISearchHistory::create();
    loaded->addBinFileAssociation("kept", "/kept");
    loaded->addBinFileAssociation("", "/replaced by the file");
    ASSERT_TRUE(loadSearchHistory(loaded, file.c_str()));
    saved->addBinFileAssociation("kept", "/kept");
    EXPECT_EQ(rowsOf(saved), rowsOf(loaded));
    EXPECT_EQ(0u, log.count(", at file: "));
    EXPECT_TRUE(loadSearchHistory(loaded, (dir / "missing.json").c_str()));  // adds nothing
    EXPECT_EQ(rowsOf(saved), rowsOf(loaded));
}

TEST(SearchHistoryFile, UnreadableDocumentsLoadNothingAndSayWhy) {
    fftest::TempDir dir;
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"", "is not JSON"},
        {"{\"version\": 1, \"binaries\": [", "is not JSON"},
        {std::string(100000, '['), "is not JSON"},
        {"{\"binaries\": [{\"file\": \"\xff\", \"resolved\": \"x\"}]}", "is not JSON"},
        {"[]", "holds array, not an object"},
    };
    for (const auto& c : cases) {
        fftest::LogCapture log;
        ObjectPtr<ISearchHistory> history = ISearchHistory::create();
        EXPECT_FALSE(loadSearchHistory(history, dir.makeFile("h.json", c.first).c_str()));
        EXPECT_TRUE(rowsOf(history).empty());
        EXPECT_EQ(1u, log.count(c.second)) << c.first.substr(0, 40);
    }
    fftest::LogCapture log;
    EXPECT_FALSE(loadSearchHistory(ISearchHistory::create(), dir.path().c_str()));
    EXPECT_TRUE(log.contains("is not a regular file"));
}

TEST(SearchHistoryFile, PartlyInvalidFileLoadsEveryValidEntryAndLogsEachFault) {
    fftest::TempDir dir;
    const std::string file = dir.makeFile("h.json", R"({
        "version": 2,
        "binaries": [ {"file": "good", "resolved": "/good", "note": "ignored"},
                      {"file": 3, "resolved": "/x"}, "text", {"resolved": "/x"},
                      {"file": {"hex": "6200"}, "resolved": "/x"} ],
        "symbols":  [ {"file": "s", "binary": {"hex": "ff"}, "checksum": "", "resolved": ""},
                      {"file": "s", "binary": "b", "resolved": "/x"},
                      {"file": {"hex": "zz"}, "binary": null, "checksum": "", "resolved": "/x"} ],
        "sources":  {"file": "x.c"},
        "kernels":  []
    })");
    fftest::LogCapture log;
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    EXPECT_FALSE(loadSearchHistory(history, file.c_str()));
    EXPECT_EQ((std::vector<Row>{{1, "good", "", "", "/good"}, {2, "s", "\xff", "", ""}}),
              rowsOf(history));
    const std::vector<std::string> faults = {
        "\"version\" is 2, not 1; reading what is understood",
        "binaries[1] \"file\" is number, not a string",
        "binaries[2] is string, not an object",
        "binaries[3] \"file\" is missing",
        "binaries[4] \"file\" contains a NUL byte",
        "symbols[1] \"checksum\" is missing",
        "symbols[2] \"file\" is not an even number of hexadecimal digits; \"binary\" is null",
        "\"sources\" is object, not an array",
        "unknown category \"kernels\"",
    };
    EXPECT_EQ(faults.size(), log.count(", at file: file_finder2/src/ff_history_file:"));
    for (const std::string& fault : faults) EXPECT_EQ(1u, log.count(fault)) << fault;
    for (const fftest::LogLine& line : log.lines()) {
        if (line.text.find(", at file: ") != std::string::npos) {
            EXPECT_EQ(log4cplus::ERROR_LOG_LEVEL, line.level);
        }
    }
}

TEST(SearchHistoryFile, FailedSaveKeepsTheOldFileAndLeavesNoTemporaryFile) {
    fftest::TempDir dir;
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    history->addBinFileAssociation("a", "/a");

    // A directory stands where the file should go: the final rename fails.
    dir.makeFile("taken/h.json/inside", "old");
    fftest::LogCapture log;
    EXPECT_FALSE(saveSearchHistory(history, (dir / "taken/h.json").c_str()));
    EXPECT_EQ("old", readText(dir / "taken/h.json/inside"));
    EXPECT_EQ(1u, entriesIn(dir / "taken"));
    EXPECT_TRUE(log.contains("Search history not saved to"));
    EXPECT_FALSE(saveSearchHistory(history, (dir / "no/such/dir/h.json").c_str()));

    // A directory the user may not write to: not even the temporary file can be made.
    const std::string locked = dir.makeDir("locked");
    const std::string file = dir.makeFile("locked/h.json", "old");
    // Writing stops half-way (a file size limit): the old file must still be whole.
    const std::string open = dir.makeDir("open");
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
    EXPECT_EQ("old", readText(file));
    EXPECT_EQ("the old history, longer than the limit", readText(whole));
    EXPECT_EQ(1u, entriesIn(locked));
    EXPECT_EQ(1u, entriesIn(open));
    ::chmod(locked.c_str(), 0755);  // lets the temporary directory go
}

namespace {
// A client's own history: the interface only, which is all loading needs.
class MockHistory : public RefCountImpl<ISearchHistory> {
public:
    using Ptr = ObjectPtr<IFileAssociation>;
    MOCK_METHOD(Ptr, addBinFileAssociation, (const char*, const char*), (override));
    MOCK_METHOD(Ptr, addSymFileAssociation, (const char*, const char*, const char*, const char*),
                (override));
    MOCK_METHOD(Ptr, addSrcFileAssociation, (const char*, const char*, const char*, const char*),
                (override));
    MOCK_METHOD(void, clear, (search_category_t), (override));
    MOCK_METHOD(Ptr, findBinFileAssociation, (const char*), (override));
    MOCK_METHOD(Ptr, findSymFileAssociation, (const char*, const char*, const char*), (override));
    MOCK_METHOD(Ptr, findSrcFileAssociation, (const char*, const char*, const char*), (override));
};
}  // namespace

TEST(SearchHistoryFile, LoadWorksOnAnyHistoryWhileSaveNeedsTheLibrarysOwn) {
    using ::testing::StrEq;
    fftest::TempDir dir;
    const std::string file =
        dir.makeFile("h.json", R"({"version": 1, "binaries": [{"file": "a", "resolved": "/a"}]})");
    auto* mock = new ::testing::StrictMock<MockHistory>;
    ObjectPtr<ISearchHistory> history(mock);
    EXPECT_CALL(*mock, addBinFileAssociation(StrEq("a"), StrEq("/a")));
    EXPECT_TRUE(loadSearchHistory(history, file.c_str()));
    EXPECT_FALSE(saveSearchHistory(history, file.c_str()));
    EXPECT_FALSE(saveSearchHistory(ObjectPtr<ISearchHistory>(), file.c_str()));
    EXPECT_FALSE(loadSearchHistory(ObjectPtr<ISearchHistory>(), file.c_str()));
}
