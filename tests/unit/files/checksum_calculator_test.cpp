// Checksum values and the process's checksum calculator.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "files/checksum_calculator.h"
#include "temp_dir.h"

using namespace FF_2_13;

TEST(ChecksumCalculator, HashesRegularFilesAsLowerCaseHexAndNothingElse) {
    fftest::TempDir dir;
    const std::string abc = dir.makeFile("abc", "abc");
    const std::string fifo = dir / "fifo";
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    ObjectPtr<IChecksum> md5 = calculator->calculateChecksum(abc.c_str(), ctMD5);
    ASSERT_TRUE(md5);
    EXPECT_STREQ("900150983cd24fb0d6963f7d28e17f72", md5->value());
    EXPECT_EQ(ctMD5, md5->type());
    EXPECT_STREQ("a9993e364706816aba3e25717850c26c9cd0d89d",
                 calculator->calculateChecksum(abc.c_str(), ctSHA1)->value());
    // CRC32 is a type, but it is never computed.
    EXPECT_FALSE(calculator->calculateChecksum(abc.c_str(), ctCRC32));
    EXPECT_FALSE(calculator->calculateChecksum(abc.c_str(), static_cast<checksum_type_t>(7)));
    for (const std::string& path : {dir / "missing", dir.path(), fifo}) {
        EXPECT_FALSE(calculator->calculateChecksum(path.c_str(), ctMD5)) << path;
        EXPECT_FALSE(calculator->calculateChecksum(path.c_str(), ctSHA1)) << path;
    }
}

TEST(Checksum, EqualityIgnoresLetterCaseButNotTypeOrLength) {
    ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
    ObjectPtr<IChecksum> upper = calculator->fromString(ctMD5, "ABC");
    ObjectPtr<IChecksum> lower = calculator->fromString(ctMD5, "abc");
    EXPECT_STREQ("ABC", upper->value()) << "parsed text is kept as given";
    EXPECT_TRUE(upper->isEqualTo(*lower));
    EXPECT_TRUE(lower->isEqualTo(*upper));
    EXPECT_FALSE(upper->isEqualTo(*calculator->fromString(ctSHA1, "abc")));
    EXPECT_FALSE(upper->isEqualTo(*calculator->fromString(ctMD5, "abc ")));
    EXPECT_FALSE(upper->isEqualTo(*calculator->fromString(ctMD5, "ab")));
    EXPECT_EQ(ctCRC32, calculator->fromString(ctCRC32, "1234abcd")->type());
}

namespace {

// Lets the test run code while a calculator's destructor is under way: the destructor
// announces itself and then waits for the lock the test holds.
std::mutex g_dyingMutex;
std::condition_variable g_dyingChanged;
bool g_dyingEntered = false;
void announceDying() {
    std::lock_guard<std::mutex> lock(g_dyingMutex);
    g_dyingEntered = true;
    g_dyingChanged.notify_all();
}

}  // namespace

// Also the plain life cycle: the last release destroys the calculator, create() then makes
// a new one, and while one is held create() returns it. SingletonChurn runs it under load.
TEST(ChecksumCalculator, CreateNeverReturnsADyingCalculator) {
    g_dyingEntered = false;
    ChecksumCalculator::setDestructionHook(&announceDying);
    ObjectPtr<IChecksumCalculator> last = IChecksumCalculator::create();
    IChecksumCalculator* dying = last.get();
    ObjectPtr<IChecksumCalculator> fresh;
    std::thread releaser;
    {
        // Hold the singleton lock so that the releasing thread stops inside the
        // destructor, after the count reached zero and before s_instance is cleared.
        FFLockWrap singleton(&g_checkSumCalcLock);
        releaser = std::thread([&last] { last = nullptr; });
        {
            std::unique_lock<std::mutex> lock(g_dyingMutex);
            g_dyingChanged.wait(lock, [] { return g_dyingEntered; });
        }
        EXPECT_EQ(dying, ChecksumCalculator::s_instance);
        fresh = IChecksumCalculator::create();
        EXPECT_NE(dying, fresh.get());
        EXPECT_EQ(fresh.get(), ChecksumCalculator::s_instance);
    }
    releaser.join();
    ChecksumCalculator::setDestructionHook(nullptr);
    // The dying instance did not clear the new one on its way out.
    ObjectPtr<IChecksumCalculator> again = IChecksumCalculator::create();
    EXPECT_EQ(fresh, again);
    EXPECT_TRUE(fresh->fromString(ctMD5, "00"));
}
