// Weak holding of callbacks: holders forget a callback that dies, accessors keep it alive
// for the length of a call.
#include "ff_events.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "backoff_watch.h"

using namespace FF_2_13;

namespace {

class Ping : public EventGenerator {
public:
    ~Ping() override { disconnectHolders(); }  // first thing, as callbacks must
    virtual int ping() { return ++calls; }
    int calls = 0;
};

class RecordingHandler : public IEventHandler {
public:
    void event(event_t) override { ++received; }
    int received = 0;
};

}  // namespace

TEST(CallbackHolder, EveryHolderAndCopyOfADeadCallbackIsNulledButAReassignedOneIsNot) {
    Ping second;
    CallbackHolder<Ping> a, b, reassigned;
    EXPECT_FALSE(CallbackAccessor<Ping>(a));
    {
        Ping ping;
        a = &ping;
        b = a;  // a copy registers too
        reassigned = &ping;
        reassigned = &second;
        CallbackHolder<Ping> shortLived(&ping);  // dies first: unregisters
        CallbackAccessor<Ping> accessor(b);
        ASSERT_TRUE(accessor);
        EXPECT_EQ(1, accessor->ping());
    }
    EXPECT_EQ(nullptr, a.get());
    EXPECT_EQ(nullptr, b.get());
    EXPECT_TRUE(a.lock());  // the lock outlives the callback
    EXPECT_FALSE(CallbackAccessor<Ping>(a));
    EXPECT_EQ(&second, reassigned.get());
}

TEST(EventGeneratorImpl, RemovesOneRegistrationOfADuplicate) {
    Ping owner;
    ObjectPtr<IEventGeneratorImpl> impl = IEventGeneratorImpl::create(&owner);
    RecordingHandler handler;
    EXPECT_TRUE(impl->addHandler(&handler));
    EXPECT_TRUE(impl->addHandler(&handler));
    impl->removeHandler(&handler);
    impl->event(evDisconnect);
    EXPECT_EQ(1, handler.received);
    impl->removeHandler(&handler);
    impl->removeHandler(&handler);  // not registered: nothing happens
    impl->disconnectHandlers();
    EXPECT_EQ(1, handler.received);
    EXPECT_FALSE(impl->addHandler(&handler));  // a disconnected generator refuses
}

TEST(CallbackAccessor, DestroyingACallbackWaitsForTheAccessorInUse) {
    fftest::BackoffWatch backoffs;
    auto* ping = new Ping;
    CallbackHolder<Ping> holder;
    holder = ping;
    std::atomic<bool> destroyed{false};
    std::thread destroyer;
    {
        CallbackAccessor<Ping> accessor(holder);
        destroyer = std::thread([&] {
            delete ping;
            destroyed = true;
        });
        backoffs.waitFor(1);  // the destroyer waits for this accessor
        EXPECT_FALSE(destroyed);
        EXPECT_EQ(1, accessor->ping());
    }
    destroyer.join();
    EXPECT_EQ(nullptr, holder.get());
}
