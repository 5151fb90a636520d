// Path and file helpers: the name rules as tables, the file-system questions on a
// temporary tree.
#include "ff_utils.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <string>
#include <vector>

#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;

namespace {

struct NameRow {
    const char* input;
    const char* expected;
};

struct PairRow {
    const char* first;
    const char* second;
    const char* expected;
};

std::string show(const char* s) {
    return s ? "\"" + std::string(s) + "\"" : "null";
}

}  // namespace

// Null, empty and root names, drive and share paths and a single leading backslash are in
// the bad-input table, for both values of the flag.
TEST(CanonicalName, FollowsTheNameRulesWhateverTheFlag) {
    const NameRow rows[] = {
        {"/usr/lib/../lib64/", "/usr/lib64"},
        {"/opt//app/./bin", "/opt/app/bin"},
        {"x/./", "x/."},            // only one trailing "." goes, and normalising keeps a last "."
        {"rel/./x//y", "rel/x/y"},  // relative names stay relative
    };
    for (const NameRow& row : rows) {
        EXPECT_EQ(row.expected, utils::getCanonicalName(row.input, false)) << show(row.input);
        EXPECT_EQ(utils::getCanonicalName(row.input, false),
                  utils::getCanonicalName(row.input, true))
            << show(row.input);
    }
}

// Names already in canonical form are given back without normalising them: every short
// name made of awkward elements must come out as the rules make it.
TEST(CanonicalName, AgreesWithTheNormalisingRulesOnEveryShortName) {
    const std::vector<std::string> elements{"", ".", "..", "a", ".b", "...", "c.d"};
    std::vector<std::string> names;
    std::vector<std::string> shorter{""};
    for (int length = 1; length <= 4; ++length) {
        std::vector<std::string> made;
        for (const std::string& prefix : shorter)
            for (const std::string& element : elements)
                made.push_back(length == 1 ? element : prefix + "/" + element);
        names.insert(names.end(), made.begin(), made.end());
        shorter = made;
    }
    for (const std::string& relative : names) {
        for (const std::string& name : {relative, "/" + relative, relative + "/"}) {
            boost::filesystem::path rules(name);
            if (rules.filename() == ".") rules = rules.parent_path();
            EXPECT_EQ(rules.lexically_normal().string(),
                      utils::getCanonicalName(name.c_str(), false))
                << show(name.c_str());
        }
    }
}

TEST(NameParts, FollowTheVersion3PathRules) {
    const NameRow only[] = {{"/usr/lib/libc.so.6", "libc.so.6"}, {"/usr/lib/", "."}, {"x", "x"}};
    for (const NameRow& row : only)
        EXPECT_EQ(row.expected, utils::getFileNameOnly(row.input)) << show(row.input);

    const NameRow path[] = {
        {"/usr/lib/libc.so.6", "/usr/lib"}, {"libc.so", ""}, {"/usr/lib/", "/usr/lib"}};
    for (const NameRow& row : path)
        EXPECT_EQ(row.expected, utils::getFileNamePath(row.input)) << show(row.input);

    const PairRow baseAndExtension[] = {{"a.tar.gz", "a.tar", ".gz"},
                                        {"/x/libc", "libc", ""},
                                        {".debug", "", ".debug"},
                                        {"/x/y.d/z", "z", ""}};
    for (const PairRow& row : baseAndExtension) {
        EXPECT_EQ(row.second, utils::getFileNameBase(row.first)) << show(row.first);
        EXPECT_EQ(row.expected, utils::getFileNameExtension(row.first)) << show(row.first);
    }
}

TEST(ChangeFileNameExtension, JoinsParentAndStemThenAppendsTheTextAsGiven) {
    const PairRow rows[] = {
        {"/a/b.so", ".debug", "/a/b.debug"},
        {"b.so", ".x", "b.x"},
        {"/a/b", ".so", "/a/b.so"},
        {"/a/b/", ".x", "/a/b/..x"},  // the stem of the trailing "." element is "."
    };
    for (const PairRow& row : rows)
        EXPECT_EQ(row.expected, utils::changeFileNameExtension(row.first, row.second))
            << show(row.first) << " " << show(row.second);
}

// Empty parts are in the bad-input table.
TEST(AddSubPart, InsertsOneSeparatorOnlyWhereNeeded) {
    const PairRow rows[] = {
        {"/a", "b", "/a/b"},          {"/a/", "b", "/a/b"},
        {"/a", "/b", "/a/b"},         {"/a/", "/b", "/a//b"},  // no normalisation
        {"a/./", "../b", "a/./../b"},
    };
    for (const PairRow& row : rows)
        EXPECT_EQ(row.expected, utils::addSubPart(row.first, row.second))
            << show(row.first) << " " << show(row.second);
}

TEST(CompareCanonicalFileNames, IsBytewiseAndGivesExactlyMinusOneZeroOrOne) {
    struct Row {
        const char* a;
        const char* b;
        int expected;
    };
    const Row rows[] = {
        {"abc", "abd", -1},      {"abd", "abc", 1}, {"ABC", "abc", -1}, {"ab", "abc", -1},
        {"abc", "abc", 0},       {"", "", 0},       {"\xff", "a", 1},  // bytes compare unsigned
        {"/z", "/zzzzzzzz", -1},
    };
    for (const Row& row : rows)
        EXPECT_EQ(row.expected, utils::compareCanonicalFileNames(row.a, row.b))
            << show(row.a) << " " << show(row.b);
}

// Empty, drive, backslash and high-byte names, for these and every other helper, are in
// the bad-input table.
TEST(SmallStringHelpers, AnswerAsDocumented) {
    EXPECT_TRUE(utils::isAbsolutePath("//srv/x"));
    EXPECT_EQ("LIBM.SO", utils::toUpper("libM.so"));
    EXPECT_FALSE(utils::isStringEmpty(" "));
    EXPECT_FALSE(utils::getUserId().empty());
}

TEST(FileQueries, TellFilesFromDirectoriesFollowingLinks) {
    fftest::TempDir tree;
    const std::string file = tree.makeFile("f.so"), dir = tree.makeDir("d");
    struct Row {
        std::string name;
        bool isFile, isDirectory;
    };
    const Row rows[] = {
        {file, true, false},
        {tree.makeSymlink("lf", file), true, false},
        {dir, false, true},
        {tree.makeSymlink("ld", dir), false, true},
        {tree / "missing", false, false},
        {tree.makeSymlink("dangling", tree / "nowhere"), false, false},
        {file + "/below", false, false},  // ENOTDIR is an answer too
    };
    for (const Row& row : rows) {
        EXPECT_EQ(row.isFile, utils::fileExists(row.name.c_str())) << row.name;
        EXPECT_EQ(row.isDirectory, utils::isDirectory(row.name.c_str())) << row.name;
    }
}

TEST(FileQueries, CreateDirMakesOneDirectoryAndRemoveFileRemovesOneEntry) {
    fftest::TempDir tree;
    const std::string fresh = tree / "fresh";
    // Lexical first: "ghost/.." goes although ghost does not exist, and so does the
    // trailing separator.
    EXPECT_TRUE(utils::createDir((tree / "ghost/../fresh/").c_str()));
    EXPECT_TRUE(utils::isDirectory(fresh.c_str()));
    EXPECT_FALSE(utils::createDir(fresh.c_str()));  // already there
    EXPECT_FALSE(utils::createDir((tree / "no/parent").c_str()));
    EXPECT_FALSE(utils::isDirectory((tree / "no").c_str()));
    const std::string file = tree.makeFile("full/file");
    EXPECT_FALSE(utils::createDir(file.c_str()));

    EXPECT_FALSE(utils::removeFile((tree / "full").c_str()));  // an error is an answer
    EXPECT_TRUE(utils::removeFile(file.c_str()));
    EXPECT_FALSE(utils::removeFile(file.c_str()));  // nothing left to remove
    EXPECT_TRUE(utils::removeFile((tree / "full").c_str()));
    EXPECT_TRUE(utils::removeFile(fresh.c_str()));
}

TEST(FileQueries, AnswerNoBehindADirectoryThatCannotBeEntered) {
    fftest::TempDir tree;
    tree.makeDir("locked/sub");
    const std::string locked = tree / "locked";
    const std::string file = tree.makeFile("locked/f");
    fftest::openToEveryone(tree.path());
    boost::filesystem::permissions(locked, boost::filesystem::perms::no_perms);
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  // Each of these hits EACCES, which the helpers turn into "no".
                  return !utils::isDirectory((locked + "/sub").c_str()) &&
                         !utils::fileExists(file.c_str()) &&
                         !utils::createDir((locked + "/new").c_str()) &&
                         !utils::removeFile(file.c_str());
              }));
}
