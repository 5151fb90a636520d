// The host's configuration storage: properties in a JSON file, replaced atomically,
// damaged files kept rather than lost.
#include "tarnbase2/config_storage.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>

#include "temp_dir.h"

using tarnbase2::ConfigStorage;

TEST(ConfigStorage, WritesThePropertyAndKeepsTheOthers) {
    fftest::TempDir tmp;
    const std::string file = tmp.makeFile("config.json", R"({"colour": "blue", "n": [1, 2]})");
    {
        ConfigStorage storage(file);
        ConfigStorage::WriteResult result = storage.setProperty("searchDirs", R"([{"a": 1}])");
        ASSERT_TRUE(result.ok) << result.error;
        EXPECT_EQ("", result.keptAs);
    }
    ConfigStorage reloaded(file);
    std::string value;
    ASSERT_TRUE(reloaded.getProperty("searchDirs", value));
    EXPECT_EQ(R"([{"a":1}])", value);
    ASSERT_TRUE(reloaded.getProperty("colour", value));
    EXPECT_EQ(R"("blue")", value);
    EXPECT_EQ((std::vector<std::string>{"config.json"}), fftest::entryNames(tmp.path()));
}

TEST(ConfigStorage, UnparsableFileStaysUntilTheNextWriteWhichKeepsItBeside) {
    fftest::TempDir tmp;
    const std::string bad = "{\"searchDirs\": [ oops";
    const std::string file = tmp.makeFile("config.json", bad);
    tmp.makeFile("config.json.corrupt", "an older one");
    ConfigStorage storage(file);
    EXPECT_NE(std::string::npos, storage.loadProblem().find("not valid JSON"))
        << storage.loadProblem();
    EXPECT_EQ(bad, fftest::readFile(file));

    ConfigStorage::WriteResult result = storage.setProperty("searchDirs", "[]");
    ASSERT_TRUE(result.ok) << result.error;
    EXPECT_EQ(file + ".corrupt.1", result.keptAs);
    EXPECT_EQ(bad, fftest::readFile(file + ".corrupt.1"));
    EXPECT_EQ("an older one", fftest::readFile(file + ".corrupt"));
    EXPECT_EQ("", storage.loadProblem());

    // Only the first write after the load keeps a copy.
    ASSERT_TRUE(storage.setProperty("searchDirs", "[1]").ok);
    EXPECT_EQ(3u, fftest::entryNames(tmp.path()).size());
}

TEST(ConfigStorage, ReplacingKeepsTheModeAndWritesThroughASymbolicLink) {
    fftest::TempDir tmp;
    const std::string real = tmp.makeFile("real/config.json", "{}");
    ::chmod(real.c_str(), 0640);
    const std::string link = tmp.makeSymlink("link.json", real);
    ConfigStorage storage(link);
    ASSERT_TRUE(storage.setProperty("k", "1").ok);
    EXPECT_TRUE(boost::filesystem::is_symlink(link));
    EXPECT_NE(std::string::npos, fftest::readFile(real).find("\"k\": 1"));
    struct stat st;
    ASSERT_EQ(0, ::stat(real.c_str(), &st));
    EXPECT_EQ(0640u, st.st_mode & 07777);
}
