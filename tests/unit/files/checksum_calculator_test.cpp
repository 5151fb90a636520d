// Checksum values and the process's checksum calculator.
#include "files/checksum_calculator.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "temp_dir.h"

using namespace FF_2_13;

TEST(ChecksumCalculator, HashesRegularFilesAsLowerCaseHexAndParsesTextAsGiven) {
    fftest::TempDir dir;
    const std::string abc = dir.makeFile("abc", "abc"), fifo = dir / "fifo";
    ASSERT_EQ(0, ::mkfifo(fifo.c_str(), 0600));
    ObjectPtr<IChecksumCalculator> calc = IChecksumCalculator::create();
    ObjectPtr<IChecksum> md5 = calc->calculateChecksum(abc.c_str(), ctMD5);
    ASSERT_TRUE(md5);
    EXPECT_EQ(ctMD5, md5->type());
    EXPECT_STREQ("900150983cd24fb0d6963f7d28e17f72", md5->value());
    EXPECT_STREQ("a9993e364706816aba3e25717850c26c9cd0d89d",
                 calc->calculateChecksum(abc.c_str(), ctSHA1)->value());
    for (int type : {int(ctCRC32), 7})  // CRC32 is a type, but it is never computed
        EXPECT_FALSE(calc->calculateChecksum(abc.c_str(), static_cast<checksum_type_t>(type)));
    for (const std::string& path : {dir / "missing", dir.path(), fifo})
        EXPECT_FALSE(calc->calculateChecksum(path.c_str(), ctSHA1)) << path;

    // Equal ignoring letter case, but not another type or length.
    ObjectPtr<IChecksum> upper = calc->fromString(ctMD5, "ABC");
    EXPECT_STREQ("ABC", upper->value());
    EXPECT_TRUE(upper->isEqualTo(*calc->fromString(ctMD5, "abc")));
    const std::pair<checksum_type_t, const char*> others[] = {
        {ctSHA1, "abc"}, {ctMD5, "abc "}, {ctMD5, "ab"}};
    for (const auto& [type, text] : others)
        EXPECT_FALSE(upper->isEqualTo(*calc->fromString(type, text))) << text;
    EXPECT_EQ(ctCRC32, calc->fromString(ctCRC32, "1234abcd")->type());
}

namespace {

// The destructor announces itself, then waits for the singleton lock the test holds.
std::mutex g_dyingMutex;
std::condition_variable g_dyingChanged;
bool g_dyingEntered = false;

}  // namespace

// Also the plain life cycle: the last release destroys the calculator, create() then makes a
// new one, and while one is held create() returns it. SingletonChurn runs it under load.
TEST(ChecksumCalculator, CreateNeverReturnsADyingCalculator) {
    ChecksumCalculator::setDestructionHook([] {
        std::lock_guard<std::mutex> lock(g_dyingMutex);
        g_dyingEntered = true;
        g_dyingChanged.notify_all();
    });
    ObjectPtr<IChecksumCalculator> last = IChecksumCalculator::create(), fresh;
    IChecksumCalculator* dying = last.get();
    std::thread releaser;
    {
        FFLockWrap singleton(&g_checkSumCalcLock);
        releaser = std::thread([&last] { last = nullptr; });
        std::unique_lock<std::mutex> lock(g_dyingMutex);
        g_dyingChanged.wait(lock, [] { return g_dyingEntered; });
        EXPECT_EQ(dying, ChecksumCalculator::s_instance);
        fresh = IChecksumCalculator::create();
        EXPECT_NE(dying, fresh.get());
    }
    releaser.join();
    ChecksumCalculator::setDestructionHook(nullptr);
    EXPECT_EQ(fresh, IChecksumCalculator::create()) << "the dying one did not clear the new one";
}
