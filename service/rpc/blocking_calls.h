// SPDX-License-Identifier: GPL-2.0-or-later
// The calls of one connection that may block: made on the server's helper threads, one after another.
#pragma once

#include <service/rpc/blocking_api.h>
#include <service/rpc/worker.h>
#include <wire/loop_thread.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <kj/async.h>
#include <memory>

namespace tfs::service::rpc {

/// Owned by the connection and by its objects; used and destroyed on the loop's thread. What goes to a helper thread
/// carries plain data only: when a body has ended, its call is looked up on the loop, and where it isn't there any more
/// nothing is touched.
class BlockingCalls : public std::enable_shared_from_this<BlockingCalls> {
public:
    /// All three outlive the object; `apis` and `queue` outlive the workers' jobs too. `limit` calls may wait beside
    /// the one that runs.
    BlockingCalls(BlockingApis apis, Worker& workers, wire::LoopQueue& queue, std::size_t limit)
        : m_apis(apis), m_workers(workers), m_queue(queue), m_limit(limit) {}
    /// What hasn't begun never runs.
    ~BlockingCalls();
    BlockingCalls(const BlockingCalls&) = delete;
    BlockingCalls& operator=(const BlockingCalls&) = delete;

    const BlockingApis& Apis() const noexcept { return m_apis; }
    /// Resolves when `body`, which throws nothing, has run; null where too many calls are waiting. Who drops the
    /// promise withdraws the call, unless it has begun: then it runs to its end and keeps the next one waiting.
    kj::Maybe<kj::Promise<void>> Start(std::function<void()> body);

private:
    struct Call {
        std::uint64_t id;
        std::function<void()> body;
        kj::Own<kj::PromiseFulfiller<void>> done;
    };

    void RunNext();
    void Finish(std::uint64_t id);
    void Withdraw(std::uint64_t id) noexcept;

    const BlockingApis m_apis;
    Worker& m_workers;
    wire::LoopQueue& m_queue;
    const std::size_t m_limit;
    std::uint64_t m_nextId = 1;
    std::deque<Call> m_waiting;
    std::uint64_t m_running = 0; ///< the call that a worker has; 0 for none
    Worker::Ticket m_ticket = 0; ///< of its job
    kj::Own<kj::PromiseFulfiller<void>> m_done;
};

} // namespace tfs::service::rpc
