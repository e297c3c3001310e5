// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/worker.h>
#include <wire/loop_thread.h>

#include <algorithm>
#include <exception>

namespace tfs::service::rpc {

Worker::Ticket Worker::Post(std::function<void()> job) {
    Ticket ticket = 0;
    {
        const ulk::LockGuard lock(m_mutex);
        if (m_stopped)
            return 0;
        try {
            if (m_jobs.size() >= m_idle && m_threads.size() < m_limit) {
                m_threads.reserve(m_limit);
                m_threads.push_back(wire::StartQuietThread(m_name, [this] { Run(); }));
            }
        } catch (const std::exception&) { // the threads that there are have to do
        }
        if (m_threads.empty())
            return 0;
        try {
            m_jobs.push_back({m_nextTicket, std::move(job)});
        } catch (const std::exception&) {
            return 0;
        }
        ticket = m_nextTicket++;
    }
    m_wake.notify_one();
    return ticket;
}

bool Worker::Withdraw(Ticket ticket) noexcept {
    std::function<void()> dropped;
    const ulk::LockGuard lock(m_mutex);
    const auto found =
        std::find_if(m_jobs.begin(), m_jobs.end(), [ticket](const Job& job) { return job.ticket == ticket; });
    if (found == m_jobs.end())
        return false;
    dropped.swap(found->body);
    m_jobs.erase(found);
    return true;
}

void Worker::Stop() noexcept {
    std::deque<Job> dropped;
    std::vector<std::thread> threads;
    {
        const ulk::LockGuard lock(m_mutex);
        m_stopped = true;
        dropped.swap(m_jobs);
        threads.swap(m_threads);
    }
    m_wake.notify_all();
    for (std::thread& thread : threads)
        thread.join();
}

void Worker::Run() noexcept {
    ulk::LockGuard lock(m_mutex);
    while (true) {
        ++m_idle;
        while (m_jobs.empty() && !m_stopped)
            m_wake.wait(lock);
        --m_idle;
        if (m_stopped)
            return;
        {
            const std::function<void()> job = std::move(m_jobs.front().body);
            m_jobs.pop_front();
            lock.unlock();
            job();
        }
        lock.lock();
    }
}

} // namespace tfs::service::rpc
