// SPDX-License-Identifier: GPL-2.0-or-later
// Helper threads for what may block.
#pragma once

#include <foundation/sync.h>

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <thread>
#include <vector>

namespace tfs::service::rpc {

/// Runs jobs in the order in which they came, as many at a time as it has threads. Threads start when they are needed;
/// Stop drops what hasn't begun, waits for the jobs that run, and joins.
class Worker {
public:
    /// Names a job that was posted; 0 is none.
    using Ticket = std::uint64_t;

    /// `name` is at most 15 characters.
    explicit Worker(const char* name, std::size_t threads = 1) : m_name(name), m_limit(threads) {}
    ~Worker() { Stop(); }
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    /// Any thread. A job throws nothing. 0 after Stop, or where no thread can be had.
    Ticket Post(std::function<void()> job);
    /// Any thread. True where the job hadn't begun; it never will, and is destroyed before this returns.
    bool Withdraw(Ticket ticket) noexcept;
    void Stop() noexcept;

private:
    struct Job {
        Ticket ticket;
        std::function<void()> body;
    };

    void Run() noexcept;

    const char* const m_name;
    const std::size_t m_limit;
    ulk::Mutex m_mutex;
    std::condition_variable_any m_wake;
    Ticket m_nextTicket ULK_GUARDED_BY(m_mutex) = 1;
    std::deque<Job> m_jobs ULK_GUARDED_BY(m_mutex);
    std::size_t m_idle ULK_GUARDED_BY(m_mutex) = 0;
    bool m_stopped ULK_GUARDED_BY(m_mutex) = false;
    std::vector<std::thread> m_threads ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::service::rpc
