// SPDX-License-Identifier: GPL-2.0-or-later
// What a connection's proxies share: the way to its loop, its state, its subscriptions.
#pragma once

#include <contract/tfs/event.h>
#include <foundation/sync.h>
#include <platform/remoting/limits.h>
#include <platform/remoting/pending_call.h>
#include <platform/remoting/session.h>
#include <wire/loop_thread.h>
#include <wire/results.h>

#include <atomic>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>

namespace ulk::remoting {

/// Held by the connection, its loop's thread and every proxy. It may outlive the loop; calls are then answered with
/// eNotReady. All operations but LoopSession may be called from any thread.
class ConnectionCore : public std::enable_shared_from_this<ConnectionCore> {
public:
    ConnectionCore(ConnectionLimits limits, Ptr<ITracer> tracer);

    const ConnectionLimits& Limits() const noexcept { return m_limits; }
    ITracer* Tracer() const noexcept { return m_tracer.Get(); }
    tfs::wire::LoopQueue& Queue() noexcept { return m_queue; }
    const tfs::wire::LoopQueue& Queue() const noexcept { return m_queue; }

    bool IsAlive() const noexcept { return m_alive.load(std::memory_order_acquire); }
    /// Returns the state before.
    bool SetAlive(bool alive) noexcept { return m_alive.exchange(alive, std::memory_order_acq_rel); }

    /// The loop's thread alone; throws ResultCodeException (eNotReady) where it is gone.
    Session& LoopSession();
    void SetLoopSession(Session* session) noexcept { m_session = session; }

    /// Makes a call and waits for it, at most `timeout` or the call's deadline. `build(Session&)` makes the request and
    /// `read(response, Record&)` takes the answer apart, both on the loop's thread; they carry plain data only. `out`
    /// is filled where an answer came whose payload counts. Codes of its own: eNotReady, eTimeout,
    /// eInsufficientResources (too many calls in flight), eInvalidSize (more than the service takes), eInvalidState
    /// (called from a receiver, on the loop's own thread).
    template <class Record, class Build, class Read>
    result_t Call(Record& out, Build build, Read read, Payload payload, std::chrono::milliseconds timeout) noexcept;
    template <class Record, class Build, class Read>
    result_t Call(Record& out, Build build, Read read, Payload payload = Payload::OfGoodCode) noexcept {
        return Call(out, std::move(build), std::move(read), payload, m_limits.callTimeout);
    }

    /// Makes sure that the session holds the interface.
    result_t Resolve(iid_t iid) noexcept;

    /// False where this receiver has a subscription already.
    bool AddSubscription(tfs::IRemoteEventsReceiver* receiver, const std::shared_ptr<Subscription>& subscription);
    std::shared_ptr<Subscription> TakeSubscription(tfs::IRemoteEventsReceiver* receiver);
    /// Ends them all; no event reaches a receiver afterwards.
    void DropSubscriptions() noexcept;

private:
    template <class Record, class Build, class Read>
    class CallTask;

    /// Null where too many calls are in flight.
    std::shared_ptr<void> TakePlace();

    const ConnectionLimits m_limits;
    const Ptr<ITracer> m_tracer;
    tfs::wire::LoopQueue m_queue;
    std::atomic<bool> m_alive{false};
    std::atomic<std::uint32_t> m_callsInFlight{0};
    std::atomic<std::uint64_t> m_nextCallId{1};
    Session* m_session = nullptr; ///< the loop's thread alone
    Mutex m_mutex;
    std::set<iid_t> m_resolved ULK_GUARDED_BY(m_mutex);
    std::map<tfs::IRemoteEventsReceiver*, std::shared_ptr<Subscription>> m_subscriptions ULK_GUARDED_BY(m_mutex);
};

template <class Record, class Build, class Read>
class ConnectionCore::CallTask final : public tfs::wire::LoopQueue::Task {
public:
    CallTask(std::shared_ptr<ConnectionCore> core, std::uint64_t id, std::shared_ptr<CallTicket<Record>> ticket,
             Build build, Read read, Payload payload)
        : m_core(std::move(core)), m_id(id), m_ticket(std::move(ticket)), m_build(std::move(build)),
          m_read(std::move(read)), m_payload(payload) {}

    void Run() override {
        try {
            Session& session = m_core->LoopSession();
            auto request = m_build(session);
            if (request.totalSize().wordCount * sizeof(capnp::word) + tfs::wire::EnvelopeSize >
                tfs::wire::RequestSizeLimit) {
                m_ticket->Answer(eInvalidSize);
                return;
            }
            session.Track(
                m_id, request.send().then([ticket = m_ticket, read = std::move(m_read), payload = m_payload](
                                              auto&& answer) mutable { TakeAnswer(*ticket, read, answer, payload); },
                                          [ticket = m_ticket](kj::Exception&& e) {
                                              ticket->Answer(tfs::wire::ResultFromException(e));
                                          }));
        } catch (...) {
            m_ticket->Answer(tfs::wire::ResultFromCurrentException());
        }
    }

private:
    template <class Answer>
    static void TakeAnswer(CallTicket<Record>& ticket, Read& read, Answer& answer, Payload payload) noexcept {
        try {
            std::optional<Record> record;
            const result_t code = answer.getResult();
            if (ULK_SUCCEEDED(code) || payload == Payload::OfEveryCode)
                read(answer, record.emplace());
            ticket.Answer(code, std::move(record));
        } catch (...) {
            ticket.Answer(tfs::wire::ResultFromCurrentException());
        }
    }

    std::shared_ptr<ConnectionCore> m_core;
    std::uint64_t m_id;
    std::shared_ptr<CallTicket<Record>> m_ticket;
    Build m_build;
    Read m_read;
    Payload m_payload;
};

template <class Record, class Build, class Read>
result_t ConnectionCore::Call(Record& out, Build build, Read read, Payload payload,
                              std::chrono::milliseconds timeout) noexcept {
    try {
        if (m_queue.IsCurrent())
            return eInvalidState;
        if (!IsAlive())
            return eNotReady;
        auto place = TakePlace();
        if (!place)
            return eInsufficientResources;
        const auto deadline = std::chrono::steady_clock::now() + timeout;
        const auto call = std::make_shared<PendingCall<Record>>();
        const std::uint64_t id = m_nextCallId.fetch_add(1, std::memory_order_relaxed);
        m_queue.Post(std::make_unique<CallTask<Record, Build, Read>>(
            shared_from_this(), id, std::make_shared<CallTicket<Record>>(call, std::move(place)), std::move(build),
            std::move(read), payload));
        const result_t code = call->Wait(deadline, out);
        if (code == eTimeout)
            m_queue.PostFunction([core = shared_from_this(), id] { core->LoopSession().Cancel(id); });
        return code;
    } catch (...) {
        return tfs::wire::ResultFromCurrentException();
    }
}

} // namespace ulk::remoting
