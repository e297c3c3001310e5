// SPDX-License-Identifier: GPL-2.0-or-later
// One thread that does small jobs in the order in which they were posted.
#pragma once

#include <foundation/sync.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <thread>

namespace tfs::service::tasks {

/// Post and Flush may be called from any thread. Jobs must not throw; one that does is dropped.
class JobQueue {
public:
    JobQueue();
    /// Does what is queued, then ends the thread.
    ~JobQueue();
    JobQueue(const JobQueue&) = delete;
    JobQueue& operator=(const JobQueue&) = delete;

    /// Never waits.
    void Post(std::function<void()> job);
    /// Waits until everything posted before is done. Not from within a job.
    void Flush();

private:
    void Run();

    ulk::Mutex m_mutex;
    std::condition_variable_any m_posted;
    std::condition_variable_any m_done;
    std::deque<std::function<void()>> m_jobs ULK_GUARDED_BY(m_mutex);
    std::uint64_t m_postedCount ULK_GUARDED_BY(m_mutex) = 0;
    std::uint64_t m_doneCount ULK_GUARDED_BY(m_mutex) = 0;
    bool m_ending ULK_GUARDED_BY(m_mutex) = false;
    std::thread m_thread;
};

} // namespace tfs::service::tasks
