// The recursive mutex and the spin lock's policy. Waits are observed through the
// back-off hook (called only when a thread has to wait), never through sleeps.
#include "ff_lock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <stdexcept>
#include <thread>

#include "backoff_watch.h"

using namespace FF_2_13;

namespace {

class SpinLockTest : public ::testing::Test {
protected:
    // A thread that takes the lock, shared or exclusively, notes that it got in, and
    // leaves again.
    std::thread enter(bool shared) {
        return std::thread([this, shared] {
            if (shared) {
                lock.sharedLock();
                gotIn = true;
                lock.sharedUnlock();
            } else {
                lock.lock();
                gotIn = true;
                lock.unlock();
            }
        });
    }
    fftest::BackoffWatch backoffs;
    FFSpinSharedLock lock;
    std::atomic<bool> gotIn{false};
};

}  // namespace

TEST(FFLockWrap, LockIsRecursiveNullDoesNothingAndExceptionsRelease) {
    FFLock plain;
    FFLockWrap outer(&plain);
    FFLockWrap inner(&plain);  // the same thread takes it again without blocking
    { FFLockWrap nothing(nullptr); }
    { FFSpinSharedLockWrap nothing(nullptr); }
    FFSpinSharedLock spin;
    try {
        FFLockWrap guard(&spin);
        throw std::runtime_error("boom");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(0, spin.state());
}

TEST_F(SpinLockTest, ReadersShareAndAWriterWaitsForAllOfThem) {
    lock.sharedLock();
    std::thread writer = enter(false);
    backoffs.waitFor(1);  // the writer waits for the reader inside
    // While a reader is inside the writer cannot announce, so a new reader still gets in:
    // a steady flow of readers keeps a writer waiting.
    lock.sharedLock();
    EXPECT_EQ(2, lock.state());
    lock.sharedUnlock();
    EXPECT_FALSE(gotIn);
    lock.sharedUnlock();
    writer.join();
    EXPECT_TRUE(gotIn);
    EXPECT_EQ(0, lock.state());
}

TEST_F(SpinLockTest, ReadersWaitForAnAnnouncedWriter) {
    lock.lock();
    std::thread reader = enter(true);
    backoffs.waitFor(1);
    EXPECT_FALSE(gotIn);
    lock.unlock();
    reader.join();
    EXPECT_TRUE(gotIn);
}

TEST_F(SpinLockTest, SecondWriterAnnouncesAndWaitsOnTheWriterMutex) {
    lock.lock();
    std::thread second = enter(false);
    // The second writer announces itself (state -2) and blocks on the writer mutex
    // without backing off; wait for the announcement itself.
    while (lock.state() != -2) std::this_thread::yield();
    EXPECT_FALSE(gotIn);
    lock.unlock();
    second.join();
    EXPECT_TRUE(gotIn);
    EXPECT_EQ(0, lock.state());
}

TEST_F(SpinLockTest, WriterMayRetakeTheLock) {
    lock.lock();
    lock.lock();
    EXPECT_EQ(-2, lock.state());
    lock.unlock();
    lock.unlock();
    EXPECT_EQ(0, lock.state());
    EXPECT_EQ(0, backoffs.count());
}
