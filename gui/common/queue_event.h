// SPDX-License-Identifier: GPL-2.0-or-later
// A flag that one thread sets and another waits for.
#pragma once

#include <foundation/result.h>
#include <foundation/sync.h>

#include <condition_variable>
#include <memory>

namespace tfs::gui {

/// Condition variable with its mutex and two flags. Set may come from any thread at any time, also while the event is
/// being destroyed; Wait from one. Waiting knows no deadline, so that no clock is asked and none that is set back can
/// hold it up.
class QueueEvent {
public:
    /// With autoReset a wait that ends clears the signal. Not signalled at first, also where there was an event before.
    /// eOutOfMemory where the condition variable can't be made. Nobody may be waiting.
    result_t Create(bool autoReset) noexcept;
    /// Sets the signal and wakes one waiter. Without effect before Create and after Destroy.
    void Set() noexcept;
    /// Returns when the signal is set; at once without an event.
    void Wait() noexcept;
    /// Nobody may be waiting.
    void Destroy() noexcept;

private:
    ulk::Mutex m_mutex;
    std::unique_ptr<std::condition_variable_any> m_condition ULK_GUARDED_BY(m_mutex);
    bool m_autoReset ULK_GUARDED_BY(m_mutex) = false;
    bool m_signalled ULK_GUARDED_BY(m_mutex) = false;
};

} // namespace tfs::gui
