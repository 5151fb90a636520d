// File: ff_events.h
//
// Weak holding of client callbacks. The client owns its callback objects and may
// destroy them at any time, also while searches run. Every callback interface derives
// from EventGenerator; every place in the library that keeps a callback keeps it in a
// CallbackHolder, which the generator tells when it goes away; every call of a
// callback is made through a CallbackAccessor, which holds the callback's lock shared
// for the call, so the callback cannot be torn down in the middle of it.
//
//   CallbackHolder<IFilesFoundCallback> holder(&myCallback);
//   {
//       CallbackAccessor<IFilesFoundCallback> callback(holder);
//       if (callback) callback->binFilesFound(name, files);
//   }
//
// Destroying a callback while searches run: the generator disconnects its holders when
// the EventGenerator part is destroyed, which is after the derived class's members are
// gone. A callback that may die while another thread calls it must therefore call
// disconnectHolders() first thing in its own destructor:
//
//   MyCallback::~MyCallback() { disconnectHolders(); }
//
// That call waits for every call in progress to end and stops all later ones. A callback
// must never be destroyed by the thread that is calling it.
#pragma once

#include <atomic>
#include <vector>

#include "ff_lock.h"

namespace FF_2_13 {

enum event_t {
    /// The generator is going away: the handler must forget it.
    evDisconnect = 0
};

/// Receiver of generator events. Not reference counted.
class FF_EXPORT IEventHandler {
public:
    virtual void event(event_t e) = 0;
    virtual ~IEventHandler() {}
};

class EventGenerator;

class FF_EXPORT IEventGeneratorImpl : public IFFObject {
public:
    /// Registers a handler (duplicates allowed). Answers false, and registers nothing,
    /// once the generator has disconnected its handlers: it is going away.
    virtual bool addHandler(IEventHandler* handler) = 0;
    /// Removes the first registration of `handler`; nothing when it is not registered.
    virtual void removeHandler(IEventHandler* handler) = 0;
    /// Takes the owner's lock exclusively, sends evDisconnect to every handler and
    /// forgets them all. Later calls find nothing to do.
    virtual void disconnectHandlers() = 0;
    /// Sends `e` to every handler in registration order.
    virtual void event(event_t e) = 0;

    static ObjectPtr<IEventGeneratorImpl> create(EventGenerator* owner);
};

/// Base class of the four client callback interfaces. Not reference counted: the client
/// owns its callbacks.
class FF_EXPORT EventGenerator {
public:
    EventGenerator();
    virtual ~EventGenerator();
    /// A new reference to the lock that guards calls into this callback.
    virtual ObjectPtr<ISpinSharedLock> getLock();

    /// The generator implementation that holders register with.
    const ObjectPtr<IEventGeneratorImpl>& eventGeneratorImpl() const { return m_impl; }

    EventGenerator(const EventGenerator&) = delete;
    EventGenerator& operator=(const EventGenerator&) = delete;

protected:
    /// Waits for calls in progress to end and detaches every holder. Call it first in
    /// the destructor of a callback that may be destroyed while searches run.
    void disconnectHolders();

private:
    ObjectPtr<IEventGeneratorImpl> m_impl;
    ObjectPtr<ISpinSharedLock> m_lock;
};

template <class I>
class CallbackAccessor;

/// Weak holder of one client callback. Empty, connected (callback set, registered with
/// its generator, its lock kept) or disconnected (callback gone: null, lock kept).
/// A holder itself is not thread-safe: it is filled by one thread and then read
/// through accessors, which may run on any thread.
template <class I>
class CallbackHolder : public IEventHandler {
public:
    CallbackHolder() : m_callback(nullptr) {}
    /// `callback` must be alive for the duration of this call.
    CallbackHolder(I* callback) : m_callback(nullptr) { connect(callback); }
    CallbackHolder(const CallbackHolder& other) : IEventHandler(), m_callback(nullptr) {
        copyFrom(other);
    }
    ~CallbackHolder() override { disconnect(); }

    CallbackHolder& operator=(I* callback) {
        disconnect();
        connect(callback);
        return *this;
    }
    CallbackHolder& operator=(const CallbackHolder& other) {
        if (this != &other) {
            disconnect();
            copyFrom(other);
        }
        return *this;
    }

    /// The callback, or null. Read it through a CallbackAccessor to call it: without the
    /// accessor's lock the callback may be going away while the answer is read.
    I* get() const { return m_callback.load(std::memory_order_acquire); }
    /// The callback's lock: kept for the holder's life, also after the callback died.
    const ObjectPtr<ISpinSharedLock>& lock() const { return m_lock; }

    void event(event_t e) override {
        if (e == evDisconnect) m_callback.store(nullptr, std::memory_order_release);
    }

private:
    void connect(I* callback) {
        if (!callback) return;
        EventGenerator* generator = callback;
        attach(callback, generator->getLock(), generator->eventGeneratorImpl());
    }
    void copyFrom(const CallbackHolder& other) {
        I* callback = nullptr;
        {
            // Read under the callback's lock: its generator may be disconnecting.
            FFSpinSharedLockWrap reading(other.m_lock.get());
            callback = other.get();
        }
        if (callback) attach(callback, other.m_lock, other.m_impl);
    }
    void attach(I* callback, const ObjectPtr<ISpinSharedLock>& lock,
                const ObjectPtr<IEventGeneratorImpl>& impl) {
        m_lock = lock;
        m_impl = impl;
        m_callback.store(callback, std::memory_order_release);
        // A generator that disconnected meanwhile refuses the registration.
        if (!m_impl || !m_impl->addHandler(this))
            m_callback.store(nullptr, std::memory_order_release);
    }
    void disconnect() {
        // The generator implementation is held by reference, so unregistering never
        // touches the callback object, which may be gone.
        if (m_impl) m_impl->removeHandler(this);
        m_impl = ObjectPtr<IEventGeneratorImpl>();
        m_callback.store(nullptr, std::memory_order_release);
        m_lock = ObjectPtr<ISpinSharedLock>();
    }

    friend class CallbackAccessor<I>;
    // Atomic: a search may ask whether a callback is set while its generator, on another
    // thread, is disconnecting it.
    std::atomic<I*> m_callback;
    ObjectPtr<ISpinSharedLock> m_lock;
    ObjectPtr<IEventGeneratorImpl> m_impl;
};

/// Scoped access to a held callback: holds the callback's lock shared for its life.
/// The pointer it gives may be null when the callback has gone.
template <class I>
class CallbackAccessor {
public:
    explicit CallbackAccessor(const CallbackHolder<I>& holder) : m_lock(holder.m_lock.get()) {
        if (m_lock) m_lock->sharedLock();
        m_callback = holder.get();
    }
    ~CallbackAccessor() {
        if (m_lock) m_lock->sharedUnlock();
    }
    CallbackAccessor(const CallbackAccessor&) = delete;
    CallbackAccessor& operator=(const CallbackAccessor&) = delete;

    I* get() const { return m_callback; }
    I* operator->() const { return m_callback; }
    explicit operator bool() const { return m_callback != nullptr; }

private:
    ISpinSharedLock* m_lock;
    I* m_callback;
};

}  // namespace FF_2_13
