// SPDX-License-Identifier: GPL-2.0-or-later
// A flag that one thread sets and another waits for.
#pragma once

#include <foundation/result.h>

#include <condition_variable>
#include <memory>
#include <mutex>

namespace tfs::gui {

/// Condition variable with its mutex and two flags. Set may come from any thread, Wait from one. Waiting knows no
/// deadline, so no clock is asked.
class QueueEvent {
public:
    /// With autoReset a wait that ends clears the signal. eOutOfMemory where the condition variable can't be made.
    result_t Create(bool autoReset) noexcept;
    /// Sets the signal and wakes one waiter. Without effect before Create.
    void Set() noexcept;
    /// Returns when the signal is set; at once before Create.
    void Wait() noexcept;
    /// Nobody may be waiting.
    void Destroy() noexcept { m_state.reset(); }

private:
    struct State {
        std::mutex mutex;
        std::condition_variable condition;
        bool autoReset = false;
        bool signalled = false;
    };
    std::unique_ptr<State> m_state;
};

} // namespace tfs::gui
