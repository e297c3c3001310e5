// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/event_queue.h>

#include <utility>

namespace tfs::control {

result_t EventQueue::OnEvent(const Event& event) {
    try {
        const ulk::LockGuard lock(m_mutex);
        m_events.push_back(event);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
    m_changed.notify_one();
    return ulk::sOk;
}

result_t EventQueue::GetReceiverName(ulk::types::string16_t& name) const {
    name = u"tesl-control";
    return ulk::sOk;
}

std::optional<Event> EventQueue::Pop(std::chrono::milliseconds wait) {
    const auto deadline = std::chrono::steady_clock::now() + wait;
    ulk::LockGuard lock(m_mutex);
    while (m_events.empty()) {
        if (m_changed.wait_until(lock, deadline) == std::cv_status::timeout && m_events.empty())
            return std::nullopt;
    }
    Event event = std::move(m_events.front());
    m_events.pop_front();
    return event;
}

} // namespace tfs::control
