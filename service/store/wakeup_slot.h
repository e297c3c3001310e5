// SPDX-License-Identifier: GPL-2.0-or-later
// A callback that may be replaced while other threads call it.
#pragma once

#include <foundation/sync.h>

#include <condition_variable>
#include <functional>
#include <memory>

namespace tfs::service::store {

/// All operations may be called from any thread, but Set not from within the callback.
class WakeupSlot {
public:
    /// Null takes the callback away. The old one isn't running any more when it returns.
    void Set(std::function<void()> wakeup) {
        auto fresh = wakeup ? std::make_shared<Entry>(Entry{std::move(wakeup), 0}) : nullptr;
        ulk::LockGuard lock(m_mutex);
        std::swap(m_entry, fresh);
        while (fresh && fresh->running > 0)
            m_idle.wait(lock);
    }

    /// Calls what is set, without a lock.
    void Call() const {
        ulk::LockGuard lock(m_mutex);
        const std::shared_ptr<Entry> entry = m_entry;
        if (!entry)
            return;
        ++entry->running;
        lock.unlock();
        entry->wakeup();
        lock.lock();
        if (--entry->running == 0)
            m_idle.notify_all();
    }

private:
    struct Entry {
        std::function<void()> wakeup;
        int running;
    };
    mutable ulk::Mutex m_mutex;
    mutable std::condition_variable_any m_idle;
    std::shared_ptr<Entry> m_entry ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::service::store
