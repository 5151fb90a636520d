// Archiving, private temporary directories, and files fetched from a remote system. (Full
// disks and concurrent archiving: ff_faults_test.)
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <boost/filesystem.hpp>

#include "ff_checksum.h"
#include "ff_searchenv.h"
#include "ff_utils.h"
#include "log_capture.h"
#include "search/file_search.h"
#include "temp_dir.h"
#include "unprivileged.h"

using namespace FF_2_13;
namespace fs = boost::filesystem;

namespace {

std::string md5Of(const std::string& file) {
    return IChecksumCalculator::create()->calculateChecksum(file.c_str(), ctMD5)->value();
}

// A remote system whose files live under `root`; records what it is asked for.
class FakeRetriever : public IFileRetriever {
public:
    explicit FakeRetriever(std::string root) : m_root(std::move(root)) {}
    bool isLocal(const char*) override { return false; }
    unsigned int retrieve(const char* remoteName, const char* targetDir) override {
        retrieved.push_back(remoteName);
        const fs::path target = utils::addSubPart(targetDir, remoteName);
        fs::create_directories(target.parent_path());
        boost::system::error_code missing;
        fs::copy_file(m_root + "/" + remoteName, target, missing);
        return missing ? 1 : 0;
    }
    unsigned int retrieveChecksum(const char*, ObjectPtr<IChecksum>&) override { return 1; }
    std::vector<std::string> retrieved;

private:
    std::string m_root;
};

}  // namespace

TEST(ArchiveFile, KeepsEachVersionUnderItsNameAndDigestAndSaysWhatWentWrong) {
    fftest::TempDir tmp;
    const std::string file = tmp.makeFile("in/libx.so", "version 1"), archive = tmp / "archive";
    std::string first, again, second;
    EXPECT_EQ(0u, utils::archiveFile(file.c_str(), archive.c_str(), "binaries", first, false));
    EXPECT_EQ(archive + "/binaries/libx.so/" + md5Of(file) + "/libx.so", first);
    // There already: 6, the same path, and the source stays although it was to go.
    EXPECT_EQ(6u, utils::archiveFile(file.c_str(), archive.c_str(), "binaries", again, true));
    EXPECT_EQ(first, again);
    const std::string other = tmp.makeFile("in2/libx.so", "version 2");
    EXPECT_EQ(0u, utils::archiveFile(other.c_str(), archive.c_str(), nullptr, second, true));
    EXPECT_EQ(archive + "/libx.so/" + md5Of(second) + "/libx.so", second);
    EXPECT_FALSE(fs::exists(other));  // moved in
    EXPECT_TRUE(fs::exists(file));
    EXPECT_EQ("version 2", fftest::readFile(second));
    EXPECT_EQ(1u, fftest::entryNames(fs::path(second).parent_path().string()).size());

    // A missing source (3) and a directory that cannot be made (4): the bad-input table.
    // Something else than a regular file under the final name is never replaced.
    tmp.makeDir("b/libx.so/" + md5Of(file) + "/libx.so");
    EXPECT_EQ(5u, utils::archiveFile(file.c_str(), (tmp / "b").c_str(), nullptr, again, true));
    EXPECT_TRUE(fs::exists(file));
}

TEST(ArchiveFile, ALinkToTheSameBytesIsFollowedAsArchivedAndAnyOtherLinkRefused) {
    fftest::TempDir tmp;
    const std::string file = tmp.makeFile("in/libx.so", "linked"), md5 = md5Of(file);
    const std::string same = tmp.makeFile("elsewhere/same", "linked");
    const std::string other = tmp.makeFile("elsewhere/other", "other bytes");
    const std::string dir = tmp.makeDir("elsewhere/dir");
    const struct {
        const char* name;
        std::string linkTo;
        unsigned int code;
    } cases[] = {
        {"to the same bytes", same, 6},
        {"to other bytes", other, 5},
        {"to a directory", dir, 5},
        {"dangling", tmp / "nothing", 5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string archive = tmp / c.name;
        const std::string target = archive + "/libx.so/" + md5 + "/libx.so";
        tmp.makeDir(c.name + std::string("/libx.so/") + md5);
        fs::create_symlink(c.linkTo, target);
        std::string archived;
        EXPECT_EQ(c.code,
                  utils::archiveFile(file.c_str(), archive.c_str(), nullptr, archived, true));
        EXPECT_TRUE(fs::is_symlink(target));  // never replaced
        if (c.code == 6) {
            EXPECT_EQ(target, archived);
        }
        EXPECT_TRUE(fs::exists(file));  // nothing copied, so nothing removed
    }
    EXPECT_EQ("other bytes", fftest::readFile(other));
}

TEST(CreateUniqueTempDir, MakesPrivateDirectoriesOrGivesUpAfterThirtyAttemptsWithOneLine) {
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

    fftest::openToEveryone(tmp.path());
    ::chmod((tmp / "data").c_str(), 0555);
    EXPECT_EQ(
        0, fftest::runUnprivileged([] {
            fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
            std::string dir;
            return utils::createUniqueTempDir(dir) == 4 && dir.empty() && log.lines().size() == 1 &&
                   log.contains(
                       "Cannot create temp directory, at file: file_finder2/src/ff_utils:252");
        }));
}

TEST(RemoteFiles, AnAbsoluteNameIsFetchedIntoTheCacheOnceAndNothingWithoutACache) {
    fftest::TempDir tmp;
    fftest::ScopedUserDataDir userData(tmp / "data");
    FakeRetriever retriever(tmp / "remote");
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setCacheDir((tmp / "cache").c_str());
    env->setFileRetriever(&retriever);
    tmp.makeFile("remote/opt/app/libr.so", "remote bytes");
    tmp.makeFile("remote/x.so");
    ObjectPtr<IFileSearch> search = IFileSearch::create(env);
    ObjectPtr<IValidFile> found = search->findBinFile("/opt/app/libr.so", nullptr, nullptr, 0);
    ASSERT_TRUE(found);
    EXPECT_EQ(ssAbsoluteNameLookup, found->searchStep());
    EXPECT_EQ(0u, std::string(found->name()).find(tmp / "cache/libr.so/"));
    EXPECT_EQ("remote bytes", fftest::readFile(found->name()));

    // Later searches with the cache step find it there without asking again.
    ObjectPtr<ISearchStepsConfigurator> steps = ISearchStepsConfigurator::create();
    steps->setStep(ssCacheSearchDir, scBinaryFiles, true);
    env->setSearchStepsConfigurator(steps);
    EXPECT_EQ(ssCacheSearchDir,
              search->findBinFile("/opt/app/libr.so", nullptr, nullptr, 0)->searchStep());
    EXPECT_EQ(1u, retriever.retrieved.size());

    fftest::LogCapture log(log4cplus::ERROR_LOG_LEVEL);
    EXPECT_FALSE(search->findBinFile("/../../x.so", nullptr, nullptr, 0));
    EXPECT_EQ(1u, log.count("Remote name leaves the temporary directory"));
    env->setCacheDir("");
    EXPECT_FALSE(IFileSearch::create(env)->findBinFile("/x.so", nullptr, nullptr, 0));
    EXPECT_GE(log.count("Empty directory name."), 1u);
    EXPECT_EQ(1u, retriever.retrieved.size());
}
