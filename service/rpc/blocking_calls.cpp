// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/blocking_calls.h>

#include <algorithm>
#include <kj/debug.h>
#include <utility>

namespace tfs::service::rpc {

BlockingCalls::~BlockingCalls() {
    if (m_running != 0)
        m_workers.Withdraw(m_ticket);
}

kj::Maybe<kj::Promise<void>> BlockingCalls::Start(std::function<void()> body) {
    if (m_waiting.size() >= m_limit)
        return nullptr;
    auto pair = kj::newPromiseAndFulfiller<void>();
    const std::uint64_t id = m_nextId++;
    m_waiting.push_back({id, std::move(body), kj::mv(pair.fulfiller)});
    RunNext();
    return pair.promise.attach(kj::defer([weak = weak_from_this(), id] {
        if (const auto self = weak.lock())
            self->Withdraw(id);
    }));
}

void BlockingCalls::RunNext() {
    while (m_running == 0 && !m_waiting.empty()) {
        Call call = std::move(m_waiting.front());
        m_waiting.pop_front();
        m_ticket =
            m_workers.Post([body = std::move(call.body), weak = weak_from_this(), id = call.id, &queue = m_queue] {
                body();
                queue.PostFunction([weak, id] {
                    if (const auto self = weak.lock())
                        self->Finish(id);
                });
            });
        if (m_ticket == 0) {
            call.done->reject(KJ_EXCEPTION(OVERLOADED, "no helper thread can be had"));
            continue;
        }
        m_running = call.id;
        m_done = kj::mv(call.done);
    }
}

void BlockingCalls::Finish(std::uint64_t id) {
    KJ_ASSERT(m_running == id);
    m_running = 0;
    auto done = kj::mv(m_done);
    done->fulfill();
    RunNext();
}

void BlockingCalls::Withdraw(std::uint64_t id) noexcept {
    if (id == m_running) {
        if (!m_workers.Withdraw(m_ticket))
            return; // it has begun
        m_running = 0;
        m_done = nullptr;
        RunNext();
        return;
    }
    const auto found =
        std::find_if(m_waiting.begin(), m_waiting.end(), [id](const Call& call) { return call.id == id; });
    if (found != m_waiting.end())
        m_waiting.erase(found);
}

} // namespace tfs::service::rpc
