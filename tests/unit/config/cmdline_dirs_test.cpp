// Search directories as command-line text: rendering, the parser's shell-like reading,
// and the exact round trip for every name. (cli_test hands a rendering to a real shell.)
#include "ff_cmdline_dirs.h"

#include <gtest/gtest.h>

#include <random>

#include "callback_doubles.h"

using namespace FF_2_13;

namespace {

using Record = fftest::DirRecord;
using fftest::dirRecords;

std::vector<Record> parse(const std::string& text) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    std::string error;
    EXPECT_TRUE(cmdline::parseSearchDirs(text.c_str(), *dirs, error)) << error << " in " << text;
    return dirRecords(*dirs);
}

// A name of 0 to 12 bytes, most of them the ones that quoting must get right.
std::string randomName(std::mt19937& random) {
    static const std::string kTricky = " \t\n,:'\"\\$`!*?[]{}();|&<>#~=%-./";
    std::uniform_int_distribution<int> length(0, 12), pick(0, 9), anyByte(1, 255);
    std::string name;
    for (int i = length(random); i > 0; --i) {
        const int kind = pick(random);
        if (kind < 5)
            name += kTricky[std::uniform_int_distribution<size_t>(0, kTricky.size() - 1)(random)];
        else if (kind < 8)
            name += static_cast<char>(anyByte(random));
        else
            name += 'a' + kind;
    }
    return name;
}

}  // namespace

TEST(CmdlineDirs, RendersOneOptionPerDirectoryQuotedOnlyWhenNeeded) {
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    dirs->addDirectory(scAllFiles, "/home/me/my src", false, false);
    dirs->addDirectory(scSymbolFiles, "/opt/debug", true, false);
    dirs->addDirectory(scSymbolFiles, "/it's", false, true);
    dirs->addDirectory(scBinaryFiles, "/a,b:c", true, true);
    EXPECT_EQ(
        "--search-dir=binaries,recursive,high:/a,b:c --search-dir=symbols,recursive:/opt/debug "
        "'--search-dir=symbols,high:/it'\\''s' '--search-dir=all:/home/me/my src'",
        cmdline::renderSearchDirs(*dirs));
    EXPECT_EQ("", cmdline::renderSearchDirs(*IEditableSearchDirContainer::create()));
    EXPECT_EQ("", cmdline::formatSearchDirValue(static_cast<search_category_t>(0), "/x", 0, 0));
}

TEST(CmdlineDirs, ReadsWordsAsAShellSplitsThem) {
    EXPECT_EQ((std::vector<Record>{{scBinaryFiles, "/x y", false, true},
                                   {scSymbolFiles, "/joined", false, false},
                                   {scSourceFiles, "/a b\"$\\", true, false},
                                   {scAllFiles, "", false, false}}),
              parse(" \t\"--search-dir=sources,recursive:/a b\\\"\\$\\\\\"\n"
                    "--search-dir 'binaries,high:/x'\\ y\\\n"
                    "  --search-dir=all: --search-dir=symbols:/jo\\\nined"));
    EXPECT_EQ((std::vector<Record>{{scSymbolFiles, "/x", true, true}}),
              parse("--search-dir=symbols,high,recursive,high:/x --search-dir=symbols:/x/"));
    EXPECT_TRUE(parse("  \n ").empty());
}

TEST(CmdlineDirs, BadTextGivesFalseAndAMessageAndChangesNothing) {
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"--search-dir=symbols:/ok --search-dir=kernels:/x", "unknown category \"kernels\""},
        {"--search-dir=symbols,deep:/x", "unknown flag \"deep\""},
        {"--search-dir=:/x", "unknown category \"\""},
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
    for (const auto& c : cases) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        std::string error;
        EXPECT_FALSE(cmdline::parseSearchDirs(c.first.c_str(), *dirs, error)) << c.first;
        EXPECT_NE(std::string::npos, error.find(c.second)) << c.first << " -> " << error;
        EXPECT_TRUE(dirRecords(*dirs).empty()) << c.first;
    }
    ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
    std::string error;
    EXPECT_FALSE(cmdline::parseSearchDirValue("all", *dirs, error));
    EXPECT_TRUE(cmdline::parseSearchDirValue("all,recursive:/a:b 'c'", *dirs, error)) << error;
    EXPECT_EQ((std::vector<Record>{{scAllFiles, "/a:b 'c'", true, false}}), dirRecords(*dirs));
}

// Property: for generated containers with names of any bytes, parsing the rendering
// gives the same records, and so does parsing each formatted value on its own.
TEST(CmdlineDirs, RoundTripIsExactForGeneratedNames) {
    std::mt19937 random(20240611);
    for (int round = 0; round < 300; ++round) {
        ObjectPtr<IEditableSearchDirContainer> dirs = IEditableSearchDirContainer::create();
        for (int i = std::uniform_int_distribution<int>(0, 6)(random); i > 0; --i)
            dirs->addDirectory(static_cast<search_category_t>(1 + random() % 4),
                               randomName(random).c_str(), random() % 2, random() % 2);
        const std::vector<Record> expected = dirRecords(*dirs);
        const std::string text = cmdline::renderSearchDirs(*dirs);
        ASSERT_EQ(expected, parse(text)) << ::testing::PrintToString(text);

        ObjectPtr<IEditableSearchDirContainer> oneByOne = IEditableSearchDirContainer::create();
        std::string error;
        for (const auto& [category, name, recursive, high] : expected)
            ASSERT_TRUE(cmdline::parseSearchDirValue(
                cmdline::formatSearchDirValue(category, name.c_str(), recursive, high).c_str(),
                *oneByOne, error))
                << error;
        ASSERT_EQ(expected, dirRecords(*oneByOne));
    }
}
