// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/worker.h>
#include <wire/loop_thread.h>

#include <exception>

namespace tfs::service::rpc {

bool Worker::Post(std::function<void()> job) {
    {
        ulk::LockGuard lock(m_mutex);
        if (m_stopped)
            return false;
        try {
            if (!m_thread.joinable())
                m_thread = wire::StartQuietThread(m_name, [this] { Run(); });
            m_jobs.push_back(std::move(job));
        } catch (const std::exception&) {
            return false;
        }
    }
    m_wake.notify_one();
    return true;
}

void Worker::Stop() noexcept {
    std::thread thread;
    {
        ulk::LockGuard lock(m_mutex);
        m_stopped = true;
        m_jobs.clear();
        thread = std::move(m_thread);
    }
    m_wake.notify_all();
    if (thread.joinable())
        thread.join();
}

void Worker::Run() noexcept {
    ulk::LockGuard lock(m_mutex);
    while (true) {
        while (m_jobs.empty() && !m_stopped)
            m_wake.wait(lock);
        if (m_stopped)
            return;
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

} // namespace tfs::service::rpc
