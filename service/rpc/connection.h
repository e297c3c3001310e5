// SPDX-License-Identifier: GPL-2.0-or-later
// One client's connection on the service's side.
#pragma once

#include <foundation/trace.h>
#include <service/rpc/connection_context.h>
#include <service/rpc/rpc_server.h>
#include <wire/guarded_stream.h>

#include <algorithm>
#include <capnp/rpc-twoparty.h>
#include <kj/async-io.h>
#include <kj/io.h>

namespace tfs::service::rpc {

/// On the loop's thread. Whatever its client does costs this connection alone.
class Connection final : private IConnection {
public:
    Connection(kj::AsyncIoContext& io, kj::AutoCloseFd socket, const Caller& who, result_t admitted,
               const RpcServerOptions& options, IServiceApi& serviceApi, std::shared_ptr<BlockingCalls> blockingCalls,
               std::shared_ptr<BlockingCalls> slowCalls, EventHub& eventHub, ulk::ITracer* tracer);
    ~Connection() noexcept(false);
    KJ_DISALLOW_COPY(Connection);

    /// Resolves when the connection has ended or is to be ended; the owner destroys it then.
    kj::Promise<void> OnEnd();

    /// False for one that is only told why it is refused.
    bool IsServed() const noexcept { return ULK_SUCCEEDED(m_context->admission); }
    std::size_t QueuedBytes() { return m_network.getCurrentQueueSize(); }
    std::size_t PeakQueuedBytes() const noexcept { return m_peak; }

private:
    bool IsCongested() override;
    kj::Promise<void> OnWritten() override { return m_stream.OnWritten(); }
    void Greeted() override { m_greeted = true; }
    void End(const char* reason) override;

    const std::shared_ptr<ConnectionContext> m_context;
    const RpcServerOptions& m_options;
    ulk::ITracer* const m_tracer;
    kj::Own<kj::AsyncIoStream> m_socket;
    wire::GuardedStream m_stream;
    capnp::TwoPartyVatNetwork m_network;
    kj::Own<kj::PromiseFulfiller<void>> m_kick;
    kj::Promise<void> m_kicked = nullptr;
    kj::Promise<void> m_greetingDeadline = nullptr;
    bool m_greeted = false;
    std::size_t m_peak = 0;
    kj::Maybe<capnp::RpcSystem<capnp::rpc::twoparty::VatId>> m_rpc;
};

} // namespace tfs::service::rpc
