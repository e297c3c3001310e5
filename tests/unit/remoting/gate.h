// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>

namespace tfs::test {

/// Holds up whoever passes until it is opened.
class Gate {
public:
    ~Gate() { Open(); }
    void Pass() {
        std::unique_lock lock(m_mutex);
        ++m_waiting;
        m_most = std::max(m_most, m_waiting);
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_open; });
        --m_waiting;
    }
    void Open() {
        const std::lock_guard lock(m_mutex);
        m_open = true;
        m_changed.notify_all();
    }
    bool WaitFor(int passers) {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(20), [&] { return m_waiting >= passers; });
    }
    int Most() const {
        const std::lock_guard lock(m_mutex);
        return m_most;
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_open = false;
    int m_waiting = 0;
    int m_most = 0;
};

} // namespace tfs::test
