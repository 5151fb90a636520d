// Archiving, private temporary directories, and files fetched from a remote system.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>

#include "ff_checksum.h"
#include "search/file_search.h"
#include "ff_searchdirs.h"
#include "ff_searchenv.h"
#include "ff_utils.h"
#include "log_capture.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;
namespace fs = boost::filesystem;

namespace {

std::string md5Of(const std::string& file) {
    return IChecksumCalculator::create()->calculateChecksum(file.c_str(), ctMD5)->value();
}

// A remote system whose files live under `root`; counts what it is asked.
class FakeRetriever : public IFileRetriever {
public:
    explicit FakeRetriever(std::string root) : m_root(std::move(root)) {}
    bool isLocal(const char*) override { return false; }
    unsigned int retrieve(const char* remoteName, const char* targetDir) override {
        retrieved.push_back(remoteName);
        const std::string source = m_root + "/" + remoteName;
        if (!fs::exists(source)) return 1;
        const fs::path target = fs::path(utils::addSubPart(targetDir, remoteName));
        fs::create_directories(target.parent_path());
        fs::copy_file(source, target);
        return 0;
    }
    unsigned int retrieveChecksum(const char*, ObjectPtr<IChecksum>&) override { return 1; }
    std::vector<std::string> retrieved;

private:
    std::string m_root;
};

class RemoteFiles : public ::testing::Test {
protected:
    RemoteFiles() {
        env->setCacheDir((tmp / "cache").c_str());
        env->setFileRetriever(&retriever);
    }
    fftest::TempDir tmp;
    fftest::ScopedUserDataDir userData{tmp / "data"};
    FakeRetriever retriever{tmp / "remote"};
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
};

}  // namespace

TEST(ArchiveFile, KeepsTheFileUnderItsNameAndDigest) {
    fftest::TempDir tmp;
    const std::string file = tmp.makeFile("in/libx.so", "version 1");
    std::string archived;
    EXPECT_EQ(0u, utils::archiveFile(file.c_str(), (tmp / "archive").c_str(), "binaries", archived,
                                     false));
    EXPECT_EQ(tmp / ("archive/binaries/libx.so/" + md5Of(file) + "/libx.so"), archived);
    EXPECT_EQ("version 1", fftest::readFile(archived));

    // The second time it is there already: 6, the same path, and the source stays.
    std::string again;
    EXPECT_EQ(6u,
              utils::archiveFile(file.c_str(), (tmp / "archive").c_str(), "binaries", again, true));
    EXPECT_EQ(archived, again);
    EXPECT_TRUE(fs::exists(file));

    // Another version of the same name lands beside it; a null sub-directory is none.
    const std::string other = tmp.makeFile("in2/libx.so", "version 2");
    std::string second;
    EXPECT_EQ(0u,
              utils::archiveFile(other.c_str(), (tmp / "archive").c_str(), nullptr, second, true));
    EXPECT_EQ(tmp / ("archive/libx.so/" + md5Of(second) + "/libx.so"), second);
    EXPECT_NE(md5Of(archived), md5Of(second));
    EXPECT_FALSE(fs::exists(other));  // moved in
    EXPECT_EQ("version 2", fftest::readFile(second));
    // No temporary file is left beside an archived copy.
    EXPECT_EQ(1, std::distance(fs::directory_iterator(fs::path(second).parent_path()), {}));
}

TEST(ArchiveFile, ReportsWhatWentWrong) {
    fftest::TempDir tmp;
    std::string archived;
    EXPECT_EQ(3u, utils::archiveFile((tmp / "missing.so").c_str(), (tmp / "a").c_str(), nullptr,
                                     archived, false));
    const std::string file = tmp.makeFile("x.so");
    tmp.makeFile("blocked", "a file where a directory must go");
    EXPECT_EQ(
        4u, utils::archiveFile(file.c_str(), (tmp / "blocked").c_str(), nullptr, archived, false));
    // Something else than a regular file under the final name is never overwritten.
    const std::string digestDir = tmp / ("b/x.so/" + md5Of(file));
    tmp.makeDir("b/x.so/" + md5Of(file) + "/x.so");
    EXPECT_EQ(5u, utils::archiveFile(file.c_str(), (tmp / "b").c_str(), nullptr, archived, true));
    EXPECT_TRUE(fs::exists(file));
    EXPECT_TRUE(fs::is_directory(digestDir + "/x.so"));
}

TEST(CreateUniqueTempDir, MakesAPrivateDirectoryUnderTheUserDataDirectory) {
    fftest::TempDir tmp;
    fftest::ScopedUserDataDir userData(tmp / "data");
    std::string first, second;
    ASSERT_EQ(0u, utils::createUniqueTempDir(first));
    ASSERT_EQ(0u, utils::createUniqueTempDir(second));
    EXPECT_NE(first, second);
    EXPECT_EQ(tmp / "data", fs::path(first).parent_path().string());
    struct stat st;
    ASSERT_EQ(0, ::stat(first.c_str(), &st));
    EXPECT_EQ(0700u, st.st_mode & 0777);
}

TEST(CreateUniqueTempDir, GivesUpAfterThirtyAttemptsWithOneLogLine) {
    fftest::TempDir tmp;
    const std::string base = tmp.makeDir("readonly");
    fftest::openToEveryone(tmp.path());
    ::chmod(base.c_str(), 0555);
    fftest::ScopedUserDataDir userData(base);
    EXPECT_EQ(
        0, fftest::runUnprivileged([] {
            fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
            std::string dir;
            return utils::createUniqueTempDir(dir) == 4 && dir.empty() &&
                   log.count(
                       "Cannot create temp directory, at file: file_finder2/src/ff_utils:252") ==
                       1 &&
                   log.lines().size() == 1;
        }));
}

TEST_F(RemoteFiles, AnAbsoluteNameOfTheRemoteSystemIsFetchedIntoTheCache) {
    tmp.makeFile("remote/opt/app/libr.so", "remote bytes");
    ObjectPtr<IFileSearch> search = IFileSearch::create(env);
    ObjectPtr<IValidFile> found = search->findBinFile("/opt/app/libr.so", nullptr, nullptr, 0);
    ASSERT_TRUE(found);
    EXPECT_EQ(ssAbsoluteNameLookup, found->searchStep());
    EXPECT_EQ(0u, std::string(found->name()).find(tmp / "cache/libr.so/"));
    EXPECT_EQ("remote bytes", fftest::readFile(found->name()));
    EXPECT_EQ(1u, retriever.retrieved.size());

    // Later searches with the cache step find it there without asking again.
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    steps->setStep(ssCacheSearchDir, scBinaryFiles, true);
    env->setSearchStepsConfigurator(steps);
    ObjectPtr<IValidFile> cached = search->findBinFile("/opt/app/libr.so", nullptr, nullptr, 0);
    ASSERT_TRUE(cached);
    EXPECT_EQ(ssCacheSearchDir, cached->searchStep());
    EXPECT_EQ(1u, retriever.retrieved.size());
}

TEST_F(RemoteFiles, ANameThatLeavesTheTemporaryDirectoryIsRefused) {
    tmp.makeFile("remote/x.so");
    fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
    EXPECT_FALSE(IFileSearch::create(env)->findBinFile("/../../x.so", nullptr, nullptr, 0));
    EXPECT_TRUE(retriever.retrieved.empty());
    EXPECT_EQ(1u, log.count("Remote name leaves the temporary directory"));
}

TEST_F(RemoteFiles, WithoutACacheDirectoryNothingIsFetched) {
    env->setCacheDir("");
    tmp.makeFile("remote/opt/x.so");
    fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
    EXPECT_FALSE(IFileSearch::create(env)->findBinFile("/opt/x.so", nullptr, nullptr, 0));
    EXPECT_TRUE(retriever.retrieved.empty());
    EXPECT_GE(log.count("Empty directory name."), 1u);
}
