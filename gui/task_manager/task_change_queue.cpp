// SPDX-License-Identifier: GPL-2.0-or-later
#include <gui/task_manager/task_change_queue.h>

#include <iterator>
#include <utility>

namespace tfs::gui {

void TaskChangeQueue::Push(OneTaskInfo row) {
    const ulk::LockGuard lock(m_mutex);
    auto& changes = m_tasksToChange[row.taskId];
    changes.push_back({std::move(row), false});
    SetMomentOfChange(std::time(nullptr));
}

void TaskChangeQueue::PushProgress(OneTaskInfo row) {
    const ulk::LockGuard lock(m_mutex);
    auto& changes = m_tasksToChange[row.taskId];
    if (!changes.empty() && changes.back().isProgressOnly)
        changes.back().row = std::move(row);
    else
        changes.push_back({std::move(row), true});
    SetMomentOfChange(std::time(nullptr));
}

std::vector<OneTaskInfo> TaskChangeQueue::TakeOldest() {
    std::vector<OneTaskInfo> oldest;
    const ulk::LockGuard lock(m_mutex);
    if (TakeMomentOfChange() == 0)
        return oldest;
    for (auto at = m_tasksToChange.begin(); at != m_tasksToChange.end();) {
        auto& changes = at->second;
        oldest.push_back(std::move(changes.front().row));
        changes.pop_front();
        at = changes.empty() ? m_tasksToChange.erase(at) : std::next(at);
    }
    if (!m_tasksToChange.empty())
        SetMomentOfChange(std::time(nullptr));
    return oldest;
}

std::size_t TaskChangeQueue::Size() const {
    const ulk::LockGuard lock(m_mutex);
    return m_tasksToChange.size();
}

bool TaskChangeQueue::Has(std::uint64_t taskId) const {
    const ulk::LockGuard lock(m_mutex);
    return m_tasksToChange.count(taskId) != 0;
}

void TaskChangeQueue::SetMomentOfChange(std::time_t moment) {
    const ulk::LockGuard lock(m_timeMutex);
    m_momentOfChange = moment;
}

std::time_t TaskChangeQueue::TakeMomentOfChange() {
    const ulk::LockGuard lock(m_timeMutex);
    return std::exchange(m_momentOfChange, 0);
}

} // namespace tfs::gui
