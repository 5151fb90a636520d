// The recursive mutex and the spin lock's policy. Waits are observed through the back-off
// hook (called only when a thread has to wait), never through sleeps.
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
    // A thread that takes the lock, shared or exclusively, notes that it got in, and leaves.
    std::thread enter(bool shared) {
        return std::thread([this, shared] {
            shared ? lock.sharedLock() : lock.lock();
            gotIn = true;
            shared ? lock.sharedUnlock() : lock.unlock();
        });
    }
    fftest::BackoffWatch backoffs;
    FFSpinSharedLock lock;
    std::atomic<bool> gotIn{false};
};

}  // namespace

TEST_F(SpinLockTest, LocksAreRecursiveNullWrapsDoNothingAndExceptionsRelease) {
    FFLock plain;
    FFLockWrap outer(&plain), inner(&plain);  // the same thread takes it again
    { FFSpinSharedLockWrap nothing(nullptr); }
    lock.lock();
    lock.lock();
    EXPECT_EQ(-2, lock.state());
    lock.unlock();
    lock.unlock();
    try {
        FFLockWrap guard(&lock);
        throw std::runtime_error("boom");
    } catch (const std::runtime_error&) {
    }
    EXPECT_EQ(0, lock.state());
    EXPECT_EQ(0, backoffs.count());
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
}

TEST_F(SpinLockTest, ReadersWaitForAWriterAndASecondWriterForTheWriterMutex) {
    for (bool shared : {true, false}) {
        gotIn = false;
        lock.lock();
        std::thread other = enter(shared);
        // A reader backs off; a second writer announces itself (-2) and blocks on the writer
        // mutex without backing off.
        if (shared) backoffs.waitFor(1);
        while (!shared && lock.state() != -2) std::this_thread::yield();
        EXPECT_FALSE(gotIn);
        lock.unlock();
        other.join();
        EXPECT_TRUE(gotIn);
        EXPECT_EQ(0, lock.state());
    }
}
