// The process's singletons under churn: eight threads creating and releasing the checksum
// calculator, the message manager and the context manager, 100,000 times each in all. Built with
// AddressSanitizer or ThreadSanitizer this is where a create() that hands out an object
// being deleted shows up (a use after free, a double free, a race on the instance).
//
// FF_CHURN_ITERATIONS sets the total per singleton lower for slow runs (valgrind).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>
#include <vector>

#include "ff_checksum.h"
#include "ff_checksum_impl.h"
#include "ff_context.h"
#include "ff_messages.h"

using namespace FF_2_13;

namespace {

constexpr unsigned kThreads = 8;
constexpr unsigned kDefaultTotal = 100000;

unsigned iterationsPerThread() {
    unsigned total = kDefaultTotal;
    if (const char* text = std::getenv("FF_CHURN_ITERATIONS")) {
        const long value = std::strtol(text, nullptr, 10);
        if (value > 0) total = static_cast<unsigned>(value);
    }
    return (total + kThreads - 1) / kThreads;
}

// Runs `body(thread index)` on kThreads threads that start together, so that the first
// calls race as well as the later ones.
// Between the last release and the destructor's taking of the singleton lock, the
// calculator is dying but still the stored instance: a create() there must not hand it
// out. Yielding in that window makes other threads land in it far more often.
void yieldWhileDying() {
    for (int i = 0; i < 32; ++i) std::this_thread::yield();
}

template <class Body>
void onThreadsAtOnce(Body body) {
    std::atomic<unsigned> ready{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ready.fetch_add(1);
            while (ready.load() < kThreads) std::this_thread::yield();
            body(t);
        });
    }
    for (std::thread& thread : threads) thread.join();
}

}  // namespace

// First in this file on purpose: the manager is made by whichever thread comes first.
TEST(SingletonChurn, MessageManagerIsOneLiveObjectForEveryThread) {
    const unsigned iterations = iterationsPerThread();
    std::atomic<IMessageMgr*> first{nullptr};
    std::atomic<unsigned> failures{0};
    onThreadsAtOnce([&](unsigned) {
        for (unsigned i = 0; i < iterations; ++i) {
            ObjectPtr<IMessageMgr> manager = IMessageMgr::create();
            IMessageMgr* expected = nullptr;
            if (!manager || (!first.compare_exchange_strong(expected, manager.get()) &&
                             expected != manager.get()))
                failures.fetch_add(1);
            // A default message object must be there from the first create() on.
            else if (!manager->getFileDoesNotExistMessage())
                failures.fetch_add(1);
        }
    });
    EXPECT_EQ(failures.load(), 0u);
}

// Second, and before anything else in the process made it: the first create() calls race.
TEST(SingletonChurn, ContextManagerIsOneLiveObjectForEveryThread) {
    const unsigned iterations = iterationsPerThread();
    std::atomic<IResolutionContextMgr*> first{nullptr};
    std::atomic<unsigned> failures{0};
    onThreadsAtOnce([&](unsigned) {
        for (unsigned i = 0; i < iterations; ++i) {
            ObjectPtr<IResolutionContextMgr> manager = IResolutionContextMgr::create();
            IResolutionContextMgr* expected = nullptr;
            if (!manager || (!first.compare_exchange_strong(expected, manager.get()) &&
                             expected != manager.get()))
                failures.fetch_add(1);
            // Each handed-out manager must work, not merely be the same address.
            else if (ObjectPtr<IResolutionContext> c =
                         manager->createFileSystemContext("/x/", false);
                     !c || std::strcmp(c->getUniqueID(), "/x") != 0)
                failures.fetch_add(1);
        }
    });
    EXPECT_EQ(failures.load(), 0u);
}

TEST(SingletonChurn, ChecksumCalculatorIsAlwaysLiveWhenHandedOut) {
    const unsigned iterations = iterationsPerThread();
    std::atomic<unsigned> failures{0};
    // Now and then a thread parks its calculator here and takes out the one parked
    // before, so that the last release moves between threads and the count sometimes
    // stays above one while other threads create.
    std::mutex parkedLock;
    ObjectPtr<IChecksumCalculator> parked;
    ChecksumCalculator::setDestructionHook(&yieldWhileDying);
    onThreadsAtOnce([&](unsigned t) {
        for (unsigned i = 0; i < iterations; ++i) {
            ObjectPtr<IChecksumCalculator> calculator = IChecksumCalculator::create();
            ObjectPtr<IChecksum> checksum =
                calculator ? calculator->fromString(ctMD5, "9e107d9d") : ObjectPtr<IChecksum>();
            if (!checksum || std::strcmp(checksum->value(), "9e107d9d") != 0) failures.fetch_add(1);
            if ((i + t) % 16 == 0) {
                std::lock_guard<std::mutex> guard(parkedLock);
                std::swap(parked, calculator);
            }
            // `calculator` (this thread's or the one taken out) is released here.
        }
    });
    parked = nullptr;
    ChecksumCalculator::setDestructionHook(nullptr);
    EXPECT_EQ(failures.load(), 0u);
    EXPECT_EQ(nullptr, ChecksumCalculator::s_instance);
}
