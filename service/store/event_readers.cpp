// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/store/event_readers.h>

#include <utility>

namespace tfs::service::store {
namespace {

constexpr std::size_t IdleLimit = 4;

} // namespace

void EventReaders::Open() {
    const ulk::LockGuard lock(m_mutex);
    m_idle.reserve(IdleLimit);
    m_open = true;
}

void EventReaders::Close() noexcept {
    std::vector<std::unique_ptr<EventReader>> closed;
    const ulk::LockGuard lock(m_mutex);
    m_open = false;
    ++m_generation;
    closed.swap(m_idle);
}

EventReaders::Lease EventReaders::Take() {
    std::unique_ptr<EventReader> reader;
    unsigned generation = 0;
    {
        const ulk::LockGuard lock(m_mutex);
        generation = m_generation;
        if (!m_open)
            return Lease(*this, nullptr, generation);
        if (!m_idle.empty()) {
            reader = std::move(m_idle.back());
            m_idle.pop_back();
        }
    }
    if (!reader)
        reader = std::make_unique<EventReader>(m_path);
    return Lease(*this, std::move(reader), generation);
}

void EventReaders::Return(std::unique_ptr<EventReader> reader, unsigned generation) noexcept {
    const ulk::LockGuard lock(m_mutex);
    if (reader && generation == m_generation && m_idle.size() < m_idle.capacity())
        m_idle.push_back(std::move(reader));
}

} // namespace tfs::service::store
