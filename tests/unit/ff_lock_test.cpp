// The recursive mutex and the spin lock's policy. Waits are observed through the
// back-off hook (called only when a thread has to wait), never through sleeps.
#include "ff_lock.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ff_posix.h"

using namespace FF_2_13;

namespace {

// Records, in order, what the threads of a test did; lets a test wait until a thread is
// known to be waiting inside the lock.
class Events {
public:
    void add(const std::string& e) {
        std::lock_guard<std::mutex> guard(m_mutex);
        m_events.push_back(e);
        m_changed.notify_all();
    }
    std::vector<std::string> all() {
        std::lock_guard<std::mutex> guard(m_mutex);
        return m_events;
    }
    void backoff() {
        std::unique_lock<std::mutex> guard(m_mutex);
        ++m_backoffs;
        m_changed.notify_all();
        // Give the other threads a chance without depending on time.
        guard.unlock();
        std::this_thread::yield();
    }
    void waitForBackoffs(int n) {
        std::unique_lock<std::mutex> guard(m_mutex);
        m_changed.wait(guard, [&] { return m_backoffs >= n; });
    }
    int backoffs() {
        std::lock_guard<std::mutex> guard(m_mutex);
        return m_backoffs;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_events;
    int m_backoffs = 0;
};

Events* g_events = nullptr;

class SpinLockTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_events = &events;
        posix::setSpinBackoffHook([] { g_events->backoff(); });
    }
    void TearDown() override {
        posix::setSpinBackoffHook(nullptr);
        g_events = nullptr;
    }
    Events events;
    FFSpinSharedLock lock;
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
    std::thread writer([&] {
        lock.lock();
        events.add("writer in");
        lock.unlock();
    });
    events.waitForBackoffs(1);  // the writer waits for the reader inside
    // While a reader is inside the writer cannot announce, so a new reader still gets in:
    // a steady flow of readers keeps a writer waiting.
    lock.sharedLock();
    EXPECT_EQ(2, lock.state());
    events.add("reader 1 out");
    lock.sharedUnlock();
    events.add("reader 2 out");
    lock.sharedUnlock();
    writer.join();
    EXPECT_EQ((std::vector<std::string>{"reader 1 out", "reader 2 out", "writer in"}),
              events.all());
    EXPECT_EQ(0, lock.state());
}

TEST_F(SpinLockTest, ReadersWaitForAnAnnouncedWriter) {
    lock.lock();
    std::thread reader([&] {
        lock.sharedLock();
        events.add("reader in");
        lock.sharedUnlock();
    });
    events.waitForBackoffs(1);
    events.add("writer out");
    lock.unlock();
    reader.join();
    EXPECT_EQ((std::vector<std::string>{"writer out", "reader in"}), events.all());
}

TEST_F(SpinLockTest, SecondWriterAnnouncesAndWaitsOnTheWriterMutex) {
    lock.lock();
    std::thread second([&] {
        lock.lock();
        events.add("second in");
        lock.unlock();
    });
    // The second writer announces itself (state -2) and blocks on the writer mutex
    // without backing off; wait for the announcement itself.
    while (lock.state() != -2) std::this_thread::yield();
    events.add("first out");
    lock.unlock();
    second.join();
    EXPECT_EQ((std::vector<std::string>{"first out", "second in"}), events.all());
    EXPECT_EQ(0, lock.state());
}

TEST_F(SpinLockTest, WriterMayRetakeTheLock) {
    lock.lock();
    lock.lock();
    EXPECT_EQ(-2, lock.state());
    lock.unlock();
    lock.unlock();
    EXPECT_EQ(0, lock.state());
    EXPECT_EQ(0, events.backoffs());
}
