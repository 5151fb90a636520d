// Eight threads ask one shared IFileSearch for the same remote binary at once, through a
// retriever that writes its copy in 4 KiB pieces without a lock, as a network fetch does.
// Every search must come back with the whole file, and the cache must hold it once.
// Built with ThreadSanitizer by ./test.sh (label stress); by hand:
//   concurrent_fetch_stress --gtest_repeat=100
#include <gtest/gtest.h>

#include <atomic>
#include <boost/filesystem.hpp>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "ff_searchenv.h"
#include "ff_utils.h"
#include "search/file_search.h"
#include "temp_dir.h"

using namespace FF_2_13;
namespace {

constexpr int kThreads = 8;
constexpr size_t kPiece = 4096;
constexpr char kRemoteName[] = "/opt/app/libfetched.so";

std::string remoteContent() {
    std::string content;
    for (int piece = 0; piece < 48; ++piece) content += std::string(kPiece, char('a' + piece % 26));
    return content;
}

// Writes the copy piece by piece, yielding between pieces so that other threads'
// fetches and archiving run in between.
class PieceByPieceRetriever : public IFileRetriever {
public:
    explicit PieceByPieceRetriever(std::string content) : m_content(std::move(content)) {}
    bool isLocal(const char*) override { return false; }
    unsigned int retrieve(const char* remoteName, const char* targetDir) override {
        const std::string target = utils::addSubPart(targetDir, remoteName);
        boost::system::error_code error;
        boost::filesystem::create_directories(utils::getFileNamePath(target.c_str()), error);
        std::ofstream out(target, std::ios::binary | std::ios::trunc);
        for (size_t at = 0; out && at < m_content.size(); at += kPiece) {
            out.write(m_content.data() + at, kPiece);
            out.flush();
            std::this_thread::yield();
        }
        return out ? 0 : 1;
    }
    unsigned int retrieveChecksum(const char*, ObjectPtr<IChecksum>&) override { return 1; }

private:
    const std::string m_content;
};

TEST(ConcurrentFetch, EverySearchOfOneRemoteNameGetsTheWholeFileAndTheCacheHoldsItOnce) {
    fftest::TempDir tmp;
    fftest::ScopedUserDataDir userData(tmp / "data");
    const std::string content = remoteContent();
    PieceByPieceRetriever retriever(content);
    ObjectPtr<IEditableSearchEnv> env = IEditableSearchEnv::create();
    env->setCacheDir((tmp / "cache").c_str());
    env->setFileRetriever(&retriever);
    ObjectPtr<IFileSearch> search = IFileSearch::create(env);

    std::atomic<int> ready{0};
    std::vector<std::string> found(kThreads);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            ++ready;
            while (ready.load() < kThreads) std::this_thread::yield();  // start together
            ObjectPtr<IValidFile> file = search->findBinFile(kRemoteName, nullptr, nullptr, 0);
            if (file) found[t] = file->name();
        });
    for (std::thread& thread : threads) thread.join();

    for (int t = 0; t < kThreads; ++t) {
        SCOPED_TRACE("thread " + std::to_string(t));
        ASSERT_FALSE(found[t].empty());
        EXPECT_EQ(found[0], found[t]);
        EXPECT_TRUE(fftest::readFile(found[t]) == content);  // not a torn copy
    }
    // One version, one file: no copy archived under the digest of torn bytes.
    EXPECT_EQ(1u, fftest::entryNames(tmp / "cache/libfetched.so").size());
    EXPECT_EQ(1u, fftest::entryNames(utils::getFileNamePath(found[0].c_str())).size());
}

}  // namespace

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
