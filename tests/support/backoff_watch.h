// Watches the spin locks' back-offs while it lives. A thread backs off only when it has to
// wait for a lock, so a test can wait until another thread is known to be waiting inside
// one, without sleeping and without timing. Each back-off yields instead of sleeping.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "platform/posix.h"

namespace fftest {

class BackoffWatch {
public:
    BackoffWatch() {
        s_current = this;
        FF_2_13::posix::setSpinBackoffHook(&BackoffWatch::onBackoff);
    }
    ~BackoffWatch() {
        FF_2_13::posix::setSpinBackoffHook(nullptr);
        s_current = nullptr;
    }
    BackoffWatch(const BackoffWatch&) = delete;
    BackoffWatch& operator=(const BackoffWatch&) = delete;

    /// Returns once `n` back-offs were taken since the watch began.
    void waitFor(int n) {
        std::unique_lock<std::mutex> guard(m_mutex);
        m_changed.wait(guard, [&] { return m_count >= n; });
    }
    int count() {
        std::lock_guard<std::mutex> guard(m_mutex);
        return m_count;
    }

private:
    static void onBackoff() {
        BackoffWatch* watch = s_current;
        {
            std::lock_guard<std::mutex> guard(watch->m_mutex);
            ++watch->m_count;
        }
        watch->m_changed.notify_all();
        std::this_thread::yield();
    }

    static inline std::atomic<BackoffWatch*> s_current{nullptr};
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
};

}  // namespace fftest
