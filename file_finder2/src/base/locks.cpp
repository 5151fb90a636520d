// The recursive mutex and the polling shared/exclusive lock.
//
// FFSpinSharedLock keeps one signed state word: readers inside (> 0) or minus the
// writers announced (< 0). The guard mutex is held only around a test-and-change of the
// state, never while sleeping or while waiting for the writer mutex, which serialises
// the announced writers.
#include "ff_lock.h"

#include "platform/posix.h"

namespace FF_2_13 {

FFLock::FFLock() {
    pthread_mutexattr_init(&m_attr);
    pthread_mutexattr_settype(&m_attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(&m_mutex, &m_attr);
}

FFLock::~FFLock() {
    pthread_mutex_destroy(&m_mutex);
    pthread_mutexattr_destroy(&m_attr);
}

void FFLock::lock() { pthread_mutex_lock(&m_mutex); }

void FFLock::unlock() { pthread_mutex_unlock(&m_mutex); }

FFSpinSharedLock::FFSpinSharedLock() : m_state(0) {}

FFSpinSharedLock::~FFSpinSharedLock() = default;

void FFSpinSharedLock::sharedLock() {
    for (;;) {
        while (m_state.load() < 0) posix::spinBackoff();
        {
            FFLockWrap guard(&m_guard);
            if (m_state.load() >= 0) {
                m_state.fetch_add(1);
                return;
            }
        }
        posix::spinBackoff();
    }
}

void FFSpinSharedLock::sharedUnlock() {
    FFLockWrap guard(&m_guard);
    m_state.fetch_sub(1);
}

void FFSpinSharedLock::lock() {
    for (;;) {
        while (m_state.load() > 0) posix::spinBackoff();
        bool announced = false;
        {
            FFLockWrap guard(&m_guard);
            if (m_state.load() <= 0) {
                m_state.fetch_sub(1);
                announced = true;
            }
        }
        if (announced) {
            m_writerLock.lock();
            return;
        }
        posix::spinBackoff();
    }
}

void FFSpinSharedLock::unlock() {
    m_writerLock.unlock();
    FFLockWrap guard(&m_guard);
    m_state.fetch_add(1);
}

}  // namespace FF_2_13
