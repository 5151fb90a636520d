// Search directories as command-line text: rendering, the parser's shell-like reading, and
// the exact round trip for every name. (cli_test hands a rendering to a real shell.)
#include "ff_cmdline_dirs.h"

#include <gtest/gtest.h>

#include <random>

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

// Property: for generated containers with names of any bytes, parsing the rendering gives
// the same records, and so does parsing each formatted value on its own.
TEST(CmdlineDirs, RoundTripIsExactForGeneratedNames) {
    const std::string tricky = " \t\n,:'\"\\$`!*?[]{}();|&<>#~=%-./";
    std::mt19937 random(20240611);
    auto name = [&] {
        std::string out;
        for (int i = random() % 13; i > 0; --i)
            out += random() % 2 ? tricky[random() % tricky.size()]
                                : static_cast<char>(1 + random() % 255);
        return out;
    };
    for (int round = 0; round < 300; ++round) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create(),
                                               oneByOne = IEditableSearchDirContainer::create();
        for (int i = random() % 7; i > 0; --i)
            dirs->addDirectory(static_cast<search_category_t>(1 + random() % 4), name().c_str(),
                               random() % 2, random() % 2);
        const Records expected = fftest::dirRecords(*dirs);
        Records records;
        const std::string text = cmdline::renderSearchDirs(*dirs);
        ASSERT_EQ("", parse(text, records)) << ::testing::PrintToString(text);
        ASSERT_EQ(expected, records) << ::testing::PrintToString(text);
        std::string error;
        for (const auto& [category, dir, recursive, high] : expected)
            ASSERT_TRUE(cmdline::parseSearchDirValue(
                cmdline::formatSearchDirValue(category, dir.c_str(), recursive, high).c_str(),
                *oneByOne, error))
                << error;
        ASSERT_EQ(expected, fftest::dirRecords(*oneByOne));
    }
}
