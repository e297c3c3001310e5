// SPDX-License-Identifier: GPL-2.0-or-later
// New values of rows on their way from the subscription's thread to the model's.
#pragma once

#include <foundation/sync.h>
#include <gui/task_manager/one_task_info.h>

#include <ctime>
#include <deque>
#include <map>
#include <vector>

namespace tfs::gui {

/// A FIFO for each task, drained by one entry a task and pass, so that the states of a fast task become visible one
/// after the other.
class TaskChangeQueue {
public:
    void Push(OneTaskInfo row);
    /// The same for a row that tells of progress alone: it takes the place of an older such row at the end of its FIFO.
    /// Progress comes faster than passes do, and a bar that lags behind its task by minutes tells nothing.
    void PushProgress(OneTaskInfo row);
    /// The oldest entry of each task, ascending by identifier. Cheap where nothing has been pushed.
    std::vector<OneTaskInfo> TakeOldest();
    std::size_t Size() const;
    /// Is a change of this task still to come?
    bool Has(std::uint64_t taskId) const;

private:
    struct Change {
        OneTaskInfo row;
        bool isProgressOnly;
    };
    void SetMomentOfChange(std::time_t moment);
    std::time_t TakeMomentOfChange();

    mutable ulk::Mutex m_mutex;
    std::map<std::uint64_t, std::deque<Change>> m_tasksToChange ULK_GUARDED_BY(m_mutex);
    /// Taken inside m_mutex where both are held.
    ulk::Mutex m_timeMutex;
    std::time_t m_momentOfChange ULK_GUARDED_BY(m_timeMutex) = 0;
};

} // namespace tfs::gui
