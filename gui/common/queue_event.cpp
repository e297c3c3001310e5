// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/queue_event.h>

#include <exception>

namespace tfs::gui {

result_t QueueEvent::Create(bool autoReset) noexcept {
    try {
        const ulk::LockGuard lock(m_mutex);
        m_condition = std::make_unique<std::condition_variable_any>();
        m_autoReset = autoReset;
        m_signalled = false;
        return ulk::sOk;
    } catch (const std::exception&) {
        return ulk::eOutOfMemory;
    }
}

void QueueEvent::Set() noexcept {
    const ulk::LockGuard lock(m_mutex);
    if (!m_condition)
        return;
    m_signalled = true;
    // Under the lock, or the condition variable could be gone by now.
    m_condition->notify_one();
}

void QueueEvent::Wait() noexcept {
    ulk::LockGuard lock(m_mutex);
    if (!m_condition)
        return;
    while (!m_signalled)
        m_condition->wait(lock);
    if (m_autoReset)
        m_signalled = false;
}

void QueueEvent::Destroy() noexcept {
    const ulk::LockGuard lock(m_mutex);
    m_condition.reset();
}

} // namespace tfs::gui
