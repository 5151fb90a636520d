// The event generator behind every client callback.
//
// Lock order of a disconnect: the implementation's own mutex first, then the owner's
// spin lock exclusively, which waits until no accessor is calling the callback.
#include "ff_events.h"

#include <algorithm>

namespace FF_2_13 {

namespace {

class EventGeneratorImpl : public RefCountImpl<IEventGeneratorImpl> {
public:
    explicit EventGeneratorImpl(EventGenerator* owner) : m_owner(owner) {}
    ~EventGeneratorImpl() override { disconnectHandlers(); }

    bool addHandler(IEventHandler* handler) override {
        FFLockWrap guard(&m_lock);
        if (m_disconnected) return false;
        if (!m_ownerLock) m_ownerLock = m_owner->getLock();
        m_handlers.push_back(handler);
        return true;
    }

    void removeHandler(IEventHandler* handler) override {
        FFLockWrap guard(&m_lock);
        auto it = std::find(m_handlers.begin(), m_handlers.end(), handler);
        if (it != m_handlers.end()) m_handlers.erase(it);
    }

    void disconnectHandlers() override {
        FFLockWrap guard(&m_lock);
        if (m_disconnected) return;
        m_disconnected = true;
        FFLockWrap exclusive(m_ownerLock.get());
        for (IEventHandler* handler : m_handlers) handler->event(evDisconnect);
        m_handlers.clear();
    }

    void event(event_t e) override {
        FFLockWrap guard(&m_lock);
        for (IEventHandler* handler : m_handlers) handler->event(e);
    }

private:
    std::vector<IEventHandler*> m_handlers;
    EventGenerator* m_owner;
    ObjectPtr<ISpinSharedLock> m_ownerLock;
    FFLock m_lock;
    bool m_disconnected = false;
};

}  // namespace

ObjectPtr<IEventGeneratorImpl> IEventGeneratorImpl::create(EventGenerator* owner) {
    return ObjectPtr<IEventGeneratorImpl>(new EventGeneratorImpl(owner));
}

EventGenerator::EventGenerator()
    : m_impl(IEventGeneratorImpl::create(this)), m_lock(new FFSpinSharedLock) {}

EventGenerator::~EventGenerator() {
    // Holders keep the implementation alive by reference, so its end is not the
    // moment the callback dies: disconnect here, then let go.
    disconnectHolders();
    m_lock = ObjectPtr<ISpinSharedLock>();
    m_impl = ObjectPtr<IEventGeneratorImpl>();
}

ObjectPtr<ISpinSharedLock> EventGenerator::getLock() { return m_lock; }

void EventGenerator::disconnectHolders() {
    if (m_impl) m_impl->disconnectHandlers();
}

}  // namespace FF_2_13
