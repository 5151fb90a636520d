// Path and file helpers: the name rules as tables, the file-system questions on a
// temporary tree.
#include "ff_utils.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <stdexcept>
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

TEST(CanonicalName, FollowsTheNameRulesWhateverTheFlag) {
    const NameRow rows[] = {
        {nullptr, ""},
        {"", ""},
        {"/usr/lib/../lib64/", "/usr/lib64"},
        {"/opt//app/./bin", "/opt/app/bin"},
        {"C:\\dir\\file.pdb", "C:/dir/file.pdb"},
        {"\\\\srv\\share\\x", "//srv/share/x"},
        {"D:\\x\\y", "D:/x/y"},
        {"\\x\\y", "\\x\\y"},  // one leading backslash: not a foreign name
        {"/", "/"},
        {"/usr/lib", "/usr/lib"},
        {"/usr/lib/", "/usr/lib"},
        {"x/.", "x"},
        {"x/./", "x/."},  // only one trailing "." goes, and normalising keeps a last "."
        {".", ""},
        {"a/b/../../c", "c"},
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
    const NameRow only[] = {
        {"/usr/lib/libc.so.6", "libc.so.6"}, {"/usr/lib/", "."}, {"/", "/"}, {"", ""}, {"x", "x"}};
    for (const NameRow& row : only)
        EXPECT_EQ(row.expected, utils::getFileNameOnly(row.input)) << show(row.input);

    const NameRow path[] = {
        {"/usr/lib/libc.so.6", "/usr/lib"}, {"libc.so", ""}, {"/usr/lib/", "/usr/lib"}, {"", ""}};
    for (const NameRow& row : path)
        EXPECT_EQ(row.expected, utils::getFileNamePath(row.input)) << show(row.input);

    const PairRow baseAndExtension[] = {
        {"a.tar.gz", "a.tar", ".gz"}, {"/x/libc", "libc", ""}, {".", ".", ""}, {"..", "..", ""},
        {".debug", "", ".debug"},     {"/x/y.d/z", "z", ""},
    };
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
        {"/a/b.so", "", "/a/b"},
    };
    for (const PairRow& row : rows)
        EXPECT_EQ(row.expected, utils::changeFileNameExtension(row.first, row.second))
            << show(row.first) << " " << show(row.second);
}

TEST(AddSubPart, InsertsOneSeparatorOnlyWhereNeeded) {
    const PairRow rows[] = {
        {"/a", "b", "/a/b"},
        {"/a/", "b", "/a/b"},
        {"/a", "/b", "/a/b"},
        {"/a/", "/b", "/a//b"},  // no normalisation
        {"", "b", "b"},
        {"", "/b", "/b"},
        {"/a", "", "/a"},
        {"", "", ""},
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

TEST(SmallStringHelpers, AnswerAsDocumented) {
    EXPECT_TRUE(utils::isAbsolutePath("/x"));
    EXPECT_TRUE(utils::isAbsolutePath("//srv/x"));
    EXPECT_FALSE(utils::isAbsolutePath(""));
    EXPECT_FALSE(utils::isAbsolutePath("C:\\x"));
    EXPECT_FALSE(utils::isAbsolutePath("\\x"));  // no backslash conversion here
    EXPECT_FALSE(utils::isAbsolutePath("x/y"));

    EXPECT_EQ("LIBM.SO", utils::toUpper("libM.so"));
    EXPECT_EQ("", utils::toUpper(nullptr));
    EXPECT_EQ("\xe9", utils::toUpper("\xe9"));  // the C locale leaves other bytes alone

    EXPECT_TRUE(utils::isStringEmpty(nullptr));
    EXPECT_TRUE(utils::isStringEmpty(""));
    EXPECT_FALSE(utils::isStringEmpty(" "));

    EXPECT_FALSE(utils::getUserId().empty());
}

TEST(NameHelpers, NullNameRaisesTheStringsLogicError) {
    EXPECT_THROW(utils::getFileNameOnly(nullptr), std::logic_error);
    EXPECT_THROW(utils::addSubPart("/a", nullptr), std::logic_error);
    EXPECT_THROW(utils::changeFileNameExtension("/a/b.so", nullptr), std::logic_error);
    EXPECT_THROW(utils::isAbsolutePath(nullptr), std::logic_error);
    EXPECT_THROW(utils::isDirectory(nullptr), std::logic_error);
    EXPECT_THROW(utils::compareCanonicalFileNames("a", nullptr), std::logic_error);
    // The helpers that catch everything answer no instead.
    EXPECT_FALSE(utils::fileExists(nullptr));
    EXPECT_FALSE(utils::removeFile(nullptr));
}

class FileQueries : public ::testing::Test {
  protected:
    fftest::TempDir tree;
};

TEST_F(FileQueries, TellFilesFromDirectoriesFollowingLinks) {
    std::string file = tree.makeFile("f.so");
    std::string dir = tree.makeDir("d");
    std::string linkToDir = tree.makeSymlink("ld", dir);
    std::string linkToFile = tree.makeSymlink("lf", file);
    std::string dangling = tree.makeSymlink("dangling", tree / "nowhere");
    std::string missing = tree / "missing";

    EXPECT_TRUE(utils::fileExists(file.c_str()));
    EXPECT_TRUE(utils::fileExists(linkToFile.c_str()));
    EXPECT_FALSE(utils::fileExists(dir.c_str()));
    EXPECT_FALSE(utils::fileExists(missing.c_str()));
    EXPECT_FALSE(utils::fileExists(dangling.c_str()));

    EXPECT_TRUE(utils::isDirectory(dir.c_str()));
    EXPECT_TRUE(utils::isDirectory(linkToDir.c_str()));
    EXPECT_FALSE(utils::isDirectory(file.c_str()));
    EXPECT_FALSE(utils::isDirectory(missing.c_str()));
    EXPECT_FALSE(utils::isDirectory((file + "/below").c_str()));  // ENOTDIR is an answer too
}

TEST_F(FileQueries, CreateDirMakesOneDirectoryAtTheCanonicalName) {
    std::string fresh = tree / "fresh";
    // Lexical first: "ghost/.." goes although ghost does not exist, and so does the
    // trailing separator.
    EXPECT_TRUE(utils::createDir((tree / "ghost/../fresh/").c_str()));
    EXPECT_TRUE(utils::isDirectory(fresh.c_str()));
    EXPECT_FALSE(utils::createDir(fresh.c_str()));  // already there

    std::string orphan = tree / "no/parent";
    EXPECT_FALSE(utils::createDir(orphan.c_str()));
    EXPECT_FALSE(utils::isDirectory((tree / "no").c_str()));

    std::string file = tree.makeFile("file");
    EXPECT_FALSE(utils::createDir(file.c_str()));
    EXPECT_FALSE(utils::createDir(nullptr));
    EXPECT_FALSE(utils::createDir(""));
}

TEST_F(FileQueries, RemoveFileRemovesOneFileOrEmptyDirectory) {
    std::string file = tree.makeFile("f");
    std::string empty = tree.makeDir("empty");
    std::string full = tree.makeDir("full");
    tree.makeFile("full/keep");

    EXPECT_TRUE(utils::removeFile(file.c_str()));
    EXPECT_FALSE(utils::fileExists(file.c_str()));
    EXPECT_FALSE(utils::removeFile(file.c_str()));  // nothing left to remove
    EXPECT_TRUE(utils::removeFile(empty.c_str()));
    EXPECT_FALSE(utils::removeFile(full.c_str()));  // an error is an answer, not an exception
    EXPECT_TRUE(utils::fileExists((tree / "full/keep").c_str()));
}

TEST_F(FileQueries, AnswerNoBehindADirectoryThatCannotBeEntered) {
    std::string locked = tree.makeDir("locked");
    tree.makeDir("locked/sub");
    tree.makeFile("locked/f");
    fftest::openToEveryone(tree.path());
    boost::filesystem::permissions(locked, boost::filesystem::perms::no_perms);
    std::string sub = locked + "/sub";
    std::string file = locked + "/f";
    std::string newDir = locked + "/new";
    int status = fftest::runUnprivileged([&] {
        // Each of these hits EACCES, which the helpers turn into "no".
        return !utils::isDirectory(sub.c_str()) && !utils::fileExists(file.c_str()) &&
               !utils::createDir(newDir.c_str()) && !utils::removeFile(file.c_str());
    });
    EXPECT_EQ(0, status);
}
