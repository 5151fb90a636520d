// File: ff_lock.h
//
// The two locks of the library and their scoped holders.
//
// - FFLock: a recursive POSIX mutex. Every mutex of the library is made this way, so the
//   thread that holds a lock may take it again.
// - FFSpinSharedLock: a shared/exclusive lock that readers and writers take by polling
//   with a 10 ms back-off. Readers never wait for each other; a writer waits until no
//   reader is inside; once a writer has announced itself, new readers wait until every
//   announced writer has left; the writer may re-take the lock exclusively. A thread that
//   holds it exclusively must not take it shared (and the other way round): that waits
//   for ever.
//
// Locks are embedded by value in the objects they guard and taken through the scoped
// holders, which release on every path, exceptions included:
//
//   FFLockWrap guard(&m_lock);                 // exclusive (any ILock)
//   FFSpinSharedLockWrap reader(&m_spinLock);  // shared
#pragma once

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "ff_object.h"

namespace FF_2_13 {

class FF_EXPORT ILock : public IFFObject {
public:
    virtual void lock() = 0;
    virtual void unlock() = 0;
};

class FF_EXPORT ISpinSharedLock : public ILock {
public:
    /// Inherited lock()/unlock() are the exclusive pair.
    virtual void sharedLock() = 0;
    virtual void sharedUnlock() = 0;
};

/// Recursive mutex. Constructed directly (as a member, or with `new`): there is no create().
class FF_EXPORT FFLock : public RefCountImpl<ILock> {
public:
    FFLock();
    ~FFLock() override;
    void lock() override;
    void unlock() override;

private:
    pthread_mutexattr_t m_attr;
    pthread_mutex_t m_mutex;
};

/// Shared/exclusive lock taken by polling; see the file comment for its policy.
class FF_EXPORT FFSpinSharedLock : public RefCountImpl<ISpinSharedLock> {
public:
    FFSpinSharedLock();
    ~FFSpinSharedLock() override;
    void sharedLock() override;
    void sharedUnlock() override;
    void lock() override;
    void unlock() override;

    /// Readers inside (> 0), minus the writers announced (< 0), or 0 when free.
    int32_t state() const { return m_state.load(); }

private:
    FFLock m_guard;
    std::atomic<int32_t> m_state;
    FFLock m_writerLock;
};

/// Scoped exclusive holder of any ILock; a null lock makes it do nothing.
class FFLockWrap {
public:
    explicit FFLockWrap(ILock* lock) : m_lock(lock) {
        if (m_lock) m_lock->lock();
    }
    ~FFLockWrap() {
        if (m_lock) m_lock->unlock();
    }
    FFLockWrap(const FFLockWrap&) = delete;
    FFLockWrap& operator=(const FFLockWrap&) = delete;

private:
    ILock* m_lock;
};

/// Scoped shared holder of a spin lock; a null lock makes it do nothing.
class FFSpinSharedLockWrap {
public:
    explicit FFSpinSharedLockWrap(ISpinSharedLock* lock) : m_lock(lock) {
        if (m_lock) m_lock->sharedLock();
    }
    ~FFSpinSharedLockWrap() {
        if (m_lock) m_lock->sharedUnlock();
    }
    FFSpinSharedLockWrap(const FFSpinSharedLockWrap&) = delete;
    FFSpinSharedLockWrap& operator=(const FFSpinSharedLockWrap&) = delete;

private:
    ISpinSharedLock* m_lock;
};

}  // namespace FF_2_13
