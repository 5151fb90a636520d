// The process's singletons under churn: eight threads creating and releasing the checksum
// calculator, the message manager and the context manager, 100,000 times each in all. Built
// with AddressSanitizer or ThreadSanitizer this is where a create() that hands out an object
// being deleted shows up. FF_CHURN_ITERATIONS sets the total lower for slow runs (valgrind).
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <thread>

#include "ff_context.h"
#include "ff_messages.h"
#include "files/checksum_calculator.h"

using namespace FF_2_13;

namespace {

// Calls I::create() on eight threads that start together, so that the first calls race as
// well as the later ones, and counts the failures: an empty object, one that `works(object,
// thread, iteration)` rejects, or (with `oneObject`) another object than the first one.
template <class I, class Works>
unsigned churn(bool oneObject, Works works) {
    constexpr unsigned kThreads = 8;
    const char* text = std::getenv("FF_CHURN_ITERATIONS");
    const long asked = text ? std::strtol(text, nullptr, 10) : 0;
    const unsigned iterations = ((asked > 0 ? asked : 100000) + kThreads - 1) / kThreads;
    std::atomic<I*> first{nullptr};
    std::atomic<unsigned> ready{0}, failures{0};
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t)
        threads.emplace_back([&, t] {
            for (ready.fetch_add(1); ready.load() < kThreads;) std::this_thread::yield();
            for (unsigned i = 0; i < iterations; ++i) {
                ObjectPtr<I> object = I::create();
                I* expected = nullptr;
                const bool another = oneObject &&
                                     !first.compare_exchange_strong(expected, object.get()) &&
                                     expected != object.get();
                if (!object || another || !works(object, t, i)) failures.fetch_add(1);
            }
        });
    for (std::thread& thread : threads) thread.join();
    return failures.load();
}

}  // namespace

// The first two on purpose, before anything else in the process made their singletons: the
// first create() calls race, and each object handed out must work, not merely be the same.
TEST(SingletonChurn, MessageManagerIsOneLiveObjectForEveryThread) {
    EXPECT_EQ(0u, churn<IMessageMgr>(true, [](ObjectPtr<IMessageMgr>& manager, unsigned, unsigned) {
                  return bool(manager->getFileDoesNotExistMessage());
              }));
}

TEST(SingletonChurn, ContextManagerIsOneLiveObjectForEveryThread) {
    EXPECT_EQ(0u, churn<IResolutionContextMgr>(true, [](ObjectPtr<IResolutionContextMgr>& manager,
                                                        unsigned, unsigned) {
                  ObjectPtr<IResolutionContext> c = manager->createFileSystemContext("/x/", false);
                  return c && std::strcmp(c->getUniqueID(), "/x") == 0;
              }));
}

TEST(SingletonChurn, ChecksumCalculatorIsAlwaysLiveWhenHandedOut) {
    // Now and then a thread parks its calculator and takes out the one parked before, so
    // that the last release moves between threads. Yielding while a calculator dies (the
    // last release done, the singleton lock not yet taken) makes others land in that window.
    std::mutex parkedLock;
    ObjectPtr<IChecksumCalculator> parked;
    ChecksumCalculator::setDestructionHook([] {
        for (int i = 0; i < 32; ++i) std::this_thread::yield();
    });
    EXPECT_EQ(0u, churn<IChecksumCalculator>(false, [&](ObjectPtr<IChecksumCalculator>& calculator,
                                                        unsigned t, unsigned i) {
                  ObjectPtr<IChecksum> checksum = calculator->fromString(ctMD5, "9e107d9d");
                  if ((i + t) % 16 == 0) {
                      std::lock_guard<std::mutex> guard(parkedLock);
                      std::swap(parked, calculator);
                  }
                  return checksum && std::strcmp(checksum->value(), "9e107d9d") == 0;
              }));
    parked = nullptr;
    ChecksumCalculator::setDestructionHook(nullptr);
    EXPECT_EQ(nullptr, ChecksumCalculator::s_instance);
}
