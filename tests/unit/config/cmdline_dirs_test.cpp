// Search directories as command-line text: rendering, the parser's shell-like reading, and
// the exact round trip. (cli_test hands a rendering to a real shell.)
#include "ff_cmdline_dirs.h"

#include <gtest/gtest.h>

#include "callback_doubles.h"

using namespace FF_2_13;
using Records = std::vector<fftest::DirRecord>;

namespace {

// The records parsed from `text`, or the parser's message.
std::string parse(const std::string& text, Records& records) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    std::string error;
    const bool parsed = cmdline::parseSearchDirs(text.c_str(), *dirs, error);
    records = fftest::dirRecords(*dirs);
    return parsed ? "" : error.empty() ? "false without a message" : error;
}

}  // namespace

// The exact rendering, quotes and all, is what `file-finder dirs list` prints (cli_test).
TEST(CmdlineDirs, ReadsWordsAsAShellSplitsThem) {
    EXPECT_EQ("", cmdline::formatSearchDirValue(static_cast<search_category_t>(0), "/x", 0, 0));
    Records records;
    EXPECT_EQ("", parse(" \t\"--search-dir=sources,recursive:/a b\\\"\\$\\\\\"\n"
                        "--search-dir 'binaries,high:/x'\\ y\\\n"
                        "  --search-dir=all: --search-dir=symbols,high,recursive:/jo\\\nined",
                        records));
    EXPECT_EQ((Records{{scBinaryFiles, "/x y", false, true},
                       {scSymbolFiles, "/joined", true, true},
                       {scSourceFiles, "/a b\"$\\", true, false},
                       {scAllFiles, "", false, false}}),
              records);
}

TEST(CmdlineDirs, BadTextGivesFalseAndAMessageAndChangesNothing) {
    const std::pair<std::string, std::string> cases[] = {
        {"--search-dir=symbols:/ok --search-dir=kernels:/x", "unknown category \"kernels\""},
        {"--search-dir=symbols,deep:/x", "unknown flag \"deep\""},
        {"--search-dir", "needs a value"},
        {"--search-dirs=all:/x", "unexpected word"},
        {"'--search-dir=all:/x", "unterminated single quote at offset 0"},
        {"--search-dir=all:\"/x", "unterminated double quote at offset 17"},
        {"--search-dir=all:/$HOME", "unquoted '$'"},
        {"--search-dir=all:/x;rm", "unquoted ';'"},
        {"--search-dir=all:\"/`id`\"", "unescaped '`'"},
        {"~/x", "unquoted '~' at the start"},
        {"--search-dir=all:/x\\", "backslash at the end"},
    };
    for (const auto& [text, message] : cases) {
        Records records;
        EXPECT_NE(std::string::npos, parse(text, records).find(message)) << text;
        EXPECT_TRUE(records.empty()) << text;
    }
}

// The rendering parses back to the same records, and so does each formatted value on its
// own, for names of every byte. (Random containers of random names: fuzz_cmdline_dirs.)
TEST(CmdlineDirs, RoundTripIsExactForNamesOfEveryByte) {
    std::string everyByte;
    for (int c = 1; c < 256; ++c) everyByte += static_cast<char>(c);
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create(),
                                           oneByOne = IEditableSearchDirContainer::create();
    dirs->addDirectory(scBinaryFiles, everyByte.c_str(), true, false);
    dirs->addDirectory(scSymbolFiles, "'", false, true);
    dirs->addDirectory(scSourceFiles, "-a 'b'\\\n", false, false);
    dirs->addDirectory(scAllFiles, "", true, true);
    const Records expected = fftest::dirRecords(*dirs);
    Records records;
    EXPECT_EQ("", parse(cmdline::renderSearchDirs(*dirs), records));
    EXPECT_EQ(expected, records);
    std::string error;
    for (const auto& [category, dir, recursive, high] : expected)
        EXPECT_TRUE(cmdline::parseSearchDirValue(
            cmdline::formatSearchDirValue(category, dir.c_str(), recursive, high).c_str(),
            *oneByOne, error))
            << error;
    EXPECT_EQ(expected, fftest::dirRecords(*oneByOne));
}
