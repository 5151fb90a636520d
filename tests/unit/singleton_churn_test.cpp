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
#include "files/checksum_calculator.h"
#include "ff_context.h"
#include "ff_messages.h"

using namespace FF_2_13;

namespace {

constexpr unsigned kThreads = 8;

// Calls I::create() on kThreads threads that start together, so that the first calls race
// as well as the later ones, and counts the failures: an empty object, one that `works(object,
// thread, iteration)` rejects, or (with `oneObject`) another object than the first one.
template <class I, class Works>
unsigned churn(bool oneObject, Works works) {
    const char* text = std::getenv("FF_CHURN_ITERATIONS");
    const long asked = text ? std::strtol(text, nullptr, 10) : 0;
    const unsigned iterations = ((asked > 0 ? asked : 100000) + kThreads - 1) / kThreads;
    std::atomic<I*> first{nullptr};
    std::atomic<unsigned> ready{0}, failures{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            ready.fetch_add(1);
            while (ready.load() < kThreads) std::this_thread::yield();
            for (unsigned i = 0; i < iterations; ++i) {
                ObjectPtr<I> object = I::create();
                I* expected = nullptr;
                if (!object ||
                    (oneObject && !first.compare_exchange_strong(expected, object.get()) &&
                     expected != object.get()) ||
                    !works(object, t, i))
                    failures.fetch_add(1);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    return failures.load();
}

// Between the last release and the destructor's taking of the singleton lock, the
// calculator is dying but still the stored instance: a create() there must not hand it
// out. Yielding in that window makes other threads land in it far more often.
void yieldWhileDying() {
    for (int i = 0; i < 32; ++i) std::this_thread::yield();
}

}  // namespace

// First in this file on purpose: the manager is made by whichever thread comes first. A
// default message object must be there from the first create() on.
TEST(SingletonChurn, MessageManagerIsOneLiveObjectForEveryThread) {
    EXPECT_EQ(0u, churn<IMessageMgr>(true, [](ObjectPtr<IMessageMgr>& manager, unsigned, unsigned) {
                  return bool(manager->getFileDoesNotExistMessage());
              }));
}

// Second, and before anything else in the process made it: the first create() calls race.
// Each handed-out manager must work, not merely be the same address.
TEST(SingletonChurn, ContextManagerIsOneLiveObjectForEveryThread) {
    EXPECT_EQ(0u, churn<IResolutionContextMgr>(true, [](ObjectPtr<IResolutionContextMgr>& manager,
                                                        unsigned, unsigned) {
                  ObjectPtr<IResolutionContext> c = manager->createFileSystemContext("/x/", false);
                  return c && std::strcmp(c->getUniqueID(), "/x") == 0;
              }));
}

TEST(SingletonChurn, ChecksumCalculatorIsAlwaysLiveWhenHandedOut) {
    // Now and then a thread parks its calculator here and takes out the one parked
    // before, so that the last release moves between threads and the count sometimes
    // stays above one while other threads create.
    std::mutex parkedLock;
    ObjectPtr<IChecksumCalculator> parked;
    ChecksumCalculator::setDestructionHook(&yieldWhileDying);
    EXPECT_EQ(0u, churn<IChecksumCalculator>(false, [&](ObjectPtr<IChecksumCalculator>& calculator,
                                                        unsigned t, unsigned i) {
                  ObjectPtr<IChecksum> checksum = calculator->fromString(ctMD5, "9e107d9d");
                  if ((i + t) % 16 == 0) {
                      std::lock_guard<std::mutex> guard(parkedLock);
                      std::swap(parked, calculator);  // the one taken out is released by churn
                  }
                  return checksum && std::strcmp(checksum->value(), "9e107d9d") == 0;
              }));
    parked = nullptr;
    ChecksumCalculator::setDestructionHook(nullptr);
    EXPECT_EQ(nullptr, ChecksumCalculator::s_instance);
}
