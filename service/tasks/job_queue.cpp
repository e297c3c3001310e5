// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/job_queue.h>

#include <exception>
#include <utility>

namespace tfs::service::tasks {

JobQueue::JobQueue() : m_thread([this] { Run(); }) {}

JobQueue::~JobQueue() {
    {
        const ulk::LockGuard lock(m_mutex);
        m_ending = true;
    }
    m_posted.notify_all();
    m_thread.join();
}

void JobQueue::Post(std::function<void()> job) {
    {
        const ulk::LockGuard lock(m_mutex);
        m_jobs.push_back(std::move(job));
        ++m_postedCount;
    }
    m_posted.notify_one();
}

void JobQueue::Flush() {
    ulk::LockGuard lock(m_mutex);
    const std::uint64_t upTo = m_postedCount;
    while (m_doneCount < upTo)
        m_done.wait(lock);
}

void JobQueue::Run() {
    ulk::LockGuard lock(m_mutex);
    for (;;) {
        while (m_jobs.empty() && !m_ending)
            m_posted.wait(lock);
        if (m_jobs.empty())
            return;
        std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        try {
            job();
        } catch (const std::exception&) { // memory is short: the job is lost, the thread stays
        }
        job = nullptr;
        lock.lock();
        ++m_doneCount;
        m_done.notify_all();
    }
}

} // namespace tfs::service::tasks
