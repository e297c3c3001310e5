// SPDX-License-Identifier: GPL-2.0-or-later
// A helper thread for what may block.
#pragma once

#include <foundation/sync.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <thread>

namespace tfs::service::rpc {

/// Runs jobs one after another. The thread starts with the first job; Stop drops what hasn't begun, waits for the job
/// that runs, and joins.
class Worker {
public:
    /// `name` is at most 15 characters.
    explicit Worker(const char* name) : m_name(name) {}
    ~Worker() { Stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Any thread. A job throws nothing. False after Stop, or where no thread can be had.
    bool Post(std::function<void()> job);
    void Stop() noexcept;

private:
    void Run() noexcept;

    const char* const m_name;
    ulk::Mutex m_mutex;
    std::condition_variable_any m_wake;
    std::deque<std::function<void()>> m_jobs ULK_GUARDED_BY(m_mutex);
    bool m_stopped ULK_GUARDED_BY(m_mutex) = false;
    std::thread m_thread ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::service::rpc
