// SPDX-License-Identifier: GPL-2.0-or-later
// Events on their way from the transport's thread to the command that waits for them.
#pragma once

#include <contract/tfs/event.h>
#include <foundation/sync.h>

#include <chrono>
#include <condition_variable>
#include <deque>
#include <optional>

namespace tfs::control {

/// Made with `new` and held by ulk::Ptr; the transport keeps a reference until Unsubscribe. Any thread.
class EventQueue final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, IRemoteEventsReceiver> {
public:
    result_t OnEvent(const Event& event) override;
    result_t GetReceiverName(ulk::types::string16_t& name) const override;

    /// The oldest event; waits for one at most so long.
    std::optional<Event> Pop(std::chrono::milliseconds wait);

private:
    ulk::Mutex m_mutex;
    std::condition_variable_any m_changed;
    std::deque<Event> m_events ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::control
