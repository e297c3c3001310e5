// SPDX-License-Identifier: GPL-2.0-or-later
// The loop's side of a connection: every KJ object that there is of it.
#pragma once

#include <foundation/object.h>
#include <foundation/trace.h>
#include <platform/remoting/limits.h>
#include <platform/remoting/pending_call.h>
#include <wire/guarded_stream.h>
#include <wire/loop_thread.h>
#include <wire/tesl.capnp.h>

#include <capnp/rpc-twoparty.h>
#include <cstdint>
#include <functional>
#include <kj/async-io.h>
#include <memory>
#include <unordered_map>

namespace ulk::remoting {

class ConnectionCore;
class Subscription;

/// Made, used and destroyed on the loop's thread alone; a debug build asserts it. Lives as long as the loop serves.
class Session final : private kj::TaskSet::ErrorHandler {
public:
    /// Takes the connected socket.
    Session(kj::AsyncIoContext& io, kj::AutoCloseFd socket, ConnectionCore& core);
    ~Session() noexcept(false);
    KJ_DISALLOW_COPY(Session);

    /// Greets the peer; `ticket` gets the code. From a good greeting on the connection is alive.
    void Greet(std::shared_ptr<CallTicket<Nothing>> ticket);

    tfs::wire::schema::Locator::Client& Locator();
    /// The capability of an interface that was looked up before; throws ResultCodeException (eNoInterface) otherwise.
    template <class Schema>
    typename Schema::Client Get(iid_t iid) {
        return Find(iid).castAs<Schema>();
    }
    void Keep(iid_t iid, capnp::Capability::Client object);

    void KeepSubscription(const Subscription* subscription, tfs::wire::schema::EventSubscription::Client handle);
    /// Throws ResultCodeException (eNotFound) where there is none.
    tfs::wire::schema::EventSubscription::Client TakeSubscription(const Subscription* subscription);
    void DropSubscription(const Subscription* subscription);

    /// Runs a call's promise until it is done or cancelled.
    void Track(std::uint64_t callId, kj::Promise<void> promise);
    void Cancel(std::uint64_t callId);

private:
    void taskFailed(kj::Exception&& exception) override;
    void AssertThread() const;
    capnp::Capability::Client& Find(iid_t iid);
    kj::Promise<void> Beat();
    void OnStreamEnd(tfs::wire::StreamEnd why);
    void End(const char* reason);
    void AnswerGreeting(result_t code);

    ConnectionCore& m_core;
    kj::Timer& m_timer;
    kj::Own<kj::AsyncIoStream> m_socket;
    tfs::wire::GuardedStream m_stream;
    capnp::TwoPartyVatNetwork m_network;
    capnp::RpcSystem<capnp::rpc::twoparty::VatId> m_rpc;
    kj::Maybe<tfs::wire::schema::Locator::Client> m_locator;
    std::unordered_map<iid_t, capnp::Capability::Client> m_objects;
    std::unordered_map<const Subscription*, tfs::wire::schema::EventSubscription::Client> m_subscriptions;
    std::shared_ptr<CallTicket<Nothing>> m_greeting;
    std::unordered_map<std::uint64_t, kj::Own<kj::Canceler>> m_cancelers;
    kj::TaskSet m_tasks;
};

} // namespace ulk::remoting
