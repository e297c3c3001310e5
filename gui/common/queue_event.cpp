// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/common/queue_event.h>

namespace tfs::gui {

result_t QueueEvent::Create(bool autoReset) noexcept {
    try {
        m_state = std::make_unique<State>();
        m_state->autoReset = autoReset;
        return ulk::sOk;
    } catch (const std::exception&) {
        return ulk::eOutOfMemory;
    }
}

void QueueEvent::Set() noexcept {
    if (!m_state)
        return;
    {
        const std::lock_guard lock(m_state->mutex);
        m_state->signalled = true;
    }
    m_state->condition.notify_one();
}

void QueueEvent::Wait() noexcept {
    if (!m_state)
        return;
    std::unique_lock lock(m_state->mutex);
    m_state->condition.wait(lock, [this] { return m_state->signalled; });
    if (m_state->autoReset)
        m_state->signalled = false;
}

} // namespace tfs::gui
