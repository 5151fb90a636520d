// Path and file helpers: the name rules as tables, the file-system questions on a temporary
// tree. (Null, empty, dot, drive, share and high-byte names: the bad-input table.)
#include "ff_utils.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;

// The rules: lexically normal, one trailing "." or separator dropped, relative names kept
// relative. Names already canonical are given back without normalising them: every short
// name made of awkward elements must come out as the rules make it.
TEST(CanonicalName, AgreesWithTheNormalisingRulesOnEveryShortName) {
    const std::vector<std::string> elements{"", ".", "..", "a", ".b", "...", "c.d"};
    std::vector<std::string> names, shorter{""};
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
                << name;
        }
    }
}

TEST(NameHelpers, FollowTheVersion3PathRules) {
    struct Row {
        const char *name, *only, *path, *base, *extension;
    };
    const Row rows[] = {
        {"/usr/lib/libc.so.6", "libc.so.6", "/usr/lib", "libc.so", ".6"},
        {"/usr/lib/", ".", "/usr/lib", ".", ""},
        {"a.tar.gz", "a.tar.gz", "", "a.tar", ".gz"},
        {".debug", ".debug", "", "", ".debug"},
        {"/x/y.d/z", "z", "/x/y.d", "z", ""},
    };
    for (const Row& r : rows) {
        EXPECT_EQ(r.only, utils::getFileNameOnly(r.name)) << r.name;
        EXPECT_EQ(r.path, utils::getFileNamePath(r.name)) << r.name;
        EXPECT_EQ(r.base, utils::getFileNameBase(r.name)) << r.name;
        EXPECT_EQ(r.extension, utils::getFileNameExtension(r.name)) << r.name;
    }
    // Parent and stem joined, then the text as given; no normalisation anywhere.
    EXPECT_EQ("/a/b.debug", utils::changeFileNameExtension("/a/b.so", ".debug"));
    EXPECT_EQ("/a/b/..x", utils::changeFileNameExtension("/a/b/", ".x"));  // the stem of "." is "."
    EXPECT_EQ("/a//b", utils::addSubPart("/a/", "/b"));
    EXPECT_EQ("a/./../b", utils::addSubPart("a/./", "../b"));
    EXPECT_EQ("LIBM.SO", utils::toUpper("libM.so"));
    EXPECT_TRUE(utils::isAbsolutePath("//srv/x"));
    EXPECT_FALSE(utils::isStringEmpty(" "));
    EXPECT_FALSE(utils::getUserId().empty());
}

TEST(CompareCanonicalFileNames, IsBytewiseAndGivesExactlyMinusOneZeroOrOne) {
    const std::tuple<const char*, const char*, int> rows[] = {
        {"abc", "abd", -1},      {"abd", "abc", 1}, {"ABC", "abc", -1}, {"ab", "abc", -1},
        {"abc", "abc", 0},       {"", "", 0},       {"\xff", "a", 1},  // bytes compare unsigned
        {"/z", "/zzzzzzzz", -1},
    };
    for (const auto& [a, b, expected] : rows)
        EXPECT_EQ(expected, utils::compareCanonicalFileNames(a, b)) << a << " " << b;
}

TEST(FileQueries, TellFilesFromDirectoriesFollowingLinks) {
    fftest::TempDir tree;
    const std::string file = tree.makeFile("f.so"), dir = tree.makeDir("d");
    const std::tuple<std::string, bool, bool> rows[] = {
        {file, true, false},
        {tree.makeSymlink("lf", file), true, false},
        {dir, false, true},
        {tree.makeSymlink("ld", dir), false, true},
        {tree / "missing", false, false},
        {tree.makeSymlink("dangling", tree / "nowhere"), false, false},
        {file + "/below", false, false},  // ENOTDIR is an answer too
    };
    for (const auto& [name, isFile, isDirectory] : rows) {
        EXPECT_EQ(isFile, utils::fileExists(name.c_str())) << name;
        EXPECT_EQ(isDirectory, utils::isDirectory(name.c_str())) << name;
    }
}

TEST(FileQueries, CreateDirMakesOneDirectoryAndRemoveFileRemovesOneEntry) {
    fftest::TempDir tree;
    // Lexical first: "ghost/.." goes although ghost does not exist, and so does the
    // trailing separator.
    EXPECT_TRUE(utils::createDir((tree / "ghost/../fresh/").c_str()));
    EXPECT_TRUE(utils::isDirectory((tree / "fresh").c_str()));
    EXPECT_FALSE(utils::createDir((tree / "fresh").c_str()));  // already there
    EXPECT_FALSE(utils::createDir((tree / "no/parent").c_str()));
    EXPECT_FALSE(utils::isDirectory((tree / "no").c_str()));
    const std::string file = tree.makeFile("full/file");
    EXPECT_FALSE(utils::createDir(file.c_str()));
    EXPECT_FALSE(utils::removeFile((tree / "full").c_str()));  // not empty: an error is an answer
    EXPECT_TRUE(utils::removeFile(file.c_str()));
    EXPECT_FALSE(utils::removeFile(file.c_str()));
    EXPECT_TRUE(utils::removeFile((tree / "full").c_str()));
}

TEST(FileQueries, AnswerNoBehindADirectoryThatCannotBeEntered) {
    fftest::TempDir tree;
    tree.makeDir("locked/sub");
    const std::string locked = tree / "locked", file = tree.makeFile("locked/f");
    fftest::openToEveryone(tree.path());
    boost::filesystem::permissions(locked, boost::filesystem::perms::no_perms);
    EXPECT_EQ(0, fftest::runUnprivileged([&] {
                  return !utils::isDirectory((locked + "/sub").c_str()) &&
                         !utils::fileExists(file.c_str()) &&
                         !utils::createDir((locked + "/new").c_str()) &&
                         !utils::removeFile(file.c_str());
              }));
}
