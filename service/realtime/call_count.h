// SPDX-License-Identifier: GPL-2.0-or-later
// How many calls from outside are under way, for an object that takes leave of its callers.
#pragma once

#include <foundation/sync.h>

#include <condition_variable>
#include <cstddef>

namespace tfs::service::realtime {

/// Any thread.
class CallCount {
public:
    /// One call, from its beginning to its end.
    class Call {
    public:
        explicit Call(CallCount& count) : m_count(count) {
            const ulk::LockGuard lock(m_count.m_lock);
            ++m_count.m_calls;
        }
        ~Call() {
            const ulk::LockGuard lock(m_count.m_lock);
            --m_count.m_calls;
            m_count.m_ended.notify_all();
        }
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

    private:
        CallCount& m_count;
    };

    /// Returns when no call is under way. Those that come later are the caller's to make harmless.
    void WaitForNone() noexcept {
        ulk::LockGuard lock(m_lock);
        while (m_calls != 0)
            m_ended.wait(lock);
    }

private:
    ulk::Mutex m_lock;
    std::condition_variable_any m_ended;
    std::size_t m_calls ULK_GUARDED_BY(m_lock) = 0;
};

} // namespace tfs::service::realtime
