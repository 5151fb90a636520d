// Weak holding of callbacks: holders forget a callback that dies, accessors keep it
// alive for the length of a call.
#include "ff_events.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "backoff_watch.h"

using namespace FF_2_13;

namespace {

class IPing : public EventGenerator {
public:
    virtual int ping() = 0;
};

class Ping : public IPing {
public:
    int ping() override { return ++calls; }
    int calls = 0;
};

// A callback whose destructor disconnects first, as callbacks destroyed during
// searches must.
class SafePing : public IPing {
public:
    ~SafePing() override { disconnectHolders(); }
    int ping() override { return 1; }
};

class RecordingHandler : public IEventHandler {
public:
    void event(event_t e) override { received.push_back(e); }
    std::vector<event_t> received;
};

}  // namespace

TEST(CallbackHolder, ForgetsADestroyedCallbackAndKeepsItsLock) {
    CallbackHolder<IPing> holder;
    EXPECT_FALSE(CallbackAccessor<IPing>(holder));
    EXPECT_FALSE(holder.lock());
    {
        Ping ping;
        holder = &ping;
        CallbackAccessor<IPing> accessor(holder);
        ASSERT_TRUE(accessor);
        EXPECT_EQ(1, accessor->ping());
    }
    EXPECT_EQ(nullptr, holder.get());
    EXPECT_TRUE(holder.lock());
    EXPECT_FALSE(CallbackAccessor<IPing>(holder));
}

TEST(CallbackHolder, EveryHolderAndCopyOfADeadCallbackIsNulledButAReassignedOneIsNot) {
    Ping second;
    CallbackHolder<IPing> a, b, reassigned;
    {
        Ping ping;
        a = &ping;
        b = a;  // copy registers too
        CallbackHolder<IPing> c(b);
        EXPECT_EQ(&ping, c.get());
        reassigned = &ping;
        reassigned = &second;
        // A holder that dies first unregisters: the generator must not call it later.
        CallbackHolder<IPing> shortLived(&ping);
    }
    EXPECT_EQ(nullptr, a.get());
    EXPECT_EQ(nullptr, b.get());
    EXPECT_EQ(nullptr, CallbackHolder<IPing>(a).get());
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
    EXPECT_EQ(1u, handler.received.size());
    impl->removeHandler(&handler);
    impl->removeHandler(&handler);  // not registered: nothing happens
    impl->disconnectHandlers();
    EXPECT_EQ(1u, handler.received.size());
    EXPECT_FALSE(impl->addHandler(&handler));  // a disconnected generator refuses
}

TEST(CallbackAccessor, DestroyingACallbackWaitsForTheAccessorInUse) {
    fftest::BackoffWatch backoffs;
    CallbackHolder<IPing> holder;
    auto* ping = new SafePing;
    holder = ping;
    std::atomic<bool> destroyed{false};
    int pingedBeforeDestruction = 0;
    std::thread destroyer;
    {
        CallbackAccessor<IPing> accessor(holder);
        ASSERT_TRUE(accessor);
        destroyer = std::thread([&] {
            delete ping;
            destroyed = true;
        });
        backoffs.waitFor(1);  // the destroyer backs off: it waits for this accessor
        EXPECT_FALSE(destroyed);
        pingedBeforeDestruction = accessor->ping();
    }
    destroyer.join();
    EXPECT_EQ(1, pingedBeforeDestruction);
    EXPECT_EQ(nullptr, holder.get());
}
