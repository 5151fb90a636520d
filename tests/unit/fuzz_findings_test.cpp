// Faults the fuzzers (fuzz/) found, one test each, named after the fault. The input that
// first showed each is kept in the fuzzer's seed corpus as crash-<fault>.
#include <gtest/gtest.h>

#include <string>

#include "ff_history.h"
#include "log_capture.h"
#include "temp_dir.h"

using namespace FF_2_13;

// fuzz/corpus/history_load/crash-number-overflow: a number too large for a double is no
// syntax error, and the JSON parser reports it with an exception of another kind, which
// left loadSearchHistory.
TEST(FuzzFindings, HistoryFileWithANumberBeyondADoubleLoadsNothingAndThrowsNothing) {
    fftest::TempDir tmp;
    const std::string file = tmp.makeFile(
        "history.json", R"({"version":1,"binaries":[{"file":"a","resolved":"/a","n":1e400}]})");
    fftest::LogCapture log;
    ObjectPtr<ISearchHistory> history = ISearchHistory::create();
    bool loaded = true;
    EXPECT_NO_THROW(loaded = loadSearchHistory(history, file.c_str()));
    EXPECT_FALSE(loaded);
    EXPECT_FALSE(history->findBinFileAssociation("a"));
    EXPECT_TRUE(log.contains("is not JSON"));
}
