// SPDX-License-Identifier: GPL-2.0-or-later
// Task identifiers on their way from the subscription's thread to the model's.
#pragma once

#include <foundation/sync.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace tfs::gui {

class TaskIdQueue {
public:
    void Push(std::uint64_t id) {
        const ulk::LockGuard lock(m_mutex);
        m_ids.push_back(id);
    }
    /// Everything pushed so far, in order.
    std::vector<std::uint64_t> TakeAll() {
        const ulk::LockGuard lock(m_mutex);
        return std::exchange(m_ids, {});
    }

private:
    ulk::Mutex m_mutex;
    std::vector<std::uint64_t> m_ids ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::gui
