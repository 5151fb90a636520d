// The host's configuration storage: properties in a JSON file, replaced atomically, damaged
// files kept rather than lost.
#include "tarnbase2/config_storage.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>

#include "temp_dir.h"

using tarnbase2::ConfigStorage;

TEST(ConfigStorage, WritesThroughALinkKeepingTheModeAndTheOtherProperties) {
    fftest::TempDir tmp;
    const std::string real = tmp.makeFile("real/config.json", R"({"colour": "blue"})");
    ::chmod(real.c_str(), 0640);
    const std::string link = tmp.makeSymlink("link.json", real);
    ASSERT_TRUE(ConfigStorage(link).setProperty("searchDirs", R"([{"a": 1}])").ok);
    std::string value, colour;
    ConfigStorage reloaded(real);
    EXPECT_TRUE(reloaded.getProperty("searchDirs", value) &&
                reloaded.getProperty("colour", colour));
    EXPECT_EQ(R"([{"a":1}])"
              R"("blue")",
              value + colour);
    EXPECT_TRUE(boost::filesystem::is_symlink(link));
    struct stat st;
    ASSERT_EQ(0, ::stat(real.c_str(), &st));
    EXPECT_EQ(0640u, st.st_mode & 07777);
    EXPECT_EQ(std::vector<std::string>{"config.json"}, fftest::entryNames(tmp / "real"));
}

TEST(ConfigStorage, UnparsableFileStaysUntilTheFirstWriteWhichKeepsItBeside) {
    fftest::TempDir tmp;
    const std::string bad = "{\"searchDirs\": [ oops", file = tmp.makeFile("config.json", bad);
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
    ASSERT_TRUE(storage.setProperty("searchDirs", "[1]").ok);  // only the first keeps a copy
    EXPECT_EQ(3u, fftest::entryNames(tmp.path()).size());
}
