// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/connection.h>
#include <service/rpc/event_subscription.h>
#include <service/rpc/locator_server.h>

namespace tfs::service::rpc {

Connection::Connection(kj::AsyncIoContext& io, kj::AutoCloseFd socket, const Caller& who, result_t admitted,
                       const RpcServerOptions& options, IServiceApi& serviceApi,
                       std::shared_ptr<BlockingCalls> blockingCalls, std::shared_ptr<BlockingCalls> slowCalls,
                       EventHub& eventHub, ulk::ITracer* tracer)
    : m_context(std::make_shared<ConnectionContext>(ConnectionContext{who, admitted, serviceApi,
                                                                      std::move(blockingCalls), std::move(slowCalls),
                                                                      eventHub, options.subscriptions, this})),
      m_options(options), m_tracer(tracer),
      m_socket(io.lowLevelProvider->wrapSocketFd(kj::mv(socket), kj::LowLevelAsyncIoProvider::ALREADY_CLOEXEC |
                                                                     kj::LowLevelAsyncIoProvider::ALREADY_NONBLOCK)),
      // A client finishes its calls a little after it has taken their answers, hence twice the number.
      m_stream(*m_socket, wire::StreamLimits{options.messageSize, std::size_t{options.callsInFlight} * 2}),
      m_network(m_stream, capnp::rpc::twoparty::Side::SERVER, wire::NetworkOptions()) {
    auto kick = kj::newPromiseAndFulfiller<void>();
    m_kick = kj::mv(kick.fulfiller);
    m_kicked = kj::mv(kick.promise);
    m_stream.SetMayRead([this] { return !IsCongested(); });
    m_stream.SetOnEnd([this](wire::StreamEnd why) {
        End(why == wire::StreamEnd::Broken ? "it sent what isn't the protocol" : "it is gone");
    });
    m_greetingDeadline = io.provider->getTimer()
                             .afterDelay(options.firstMessageTime.count() * kj::MILLISECONDS)
                             .then([this] {
                                 if (!m_greeted)
                                     End("it didn't greet");
                             })
                             .eagerlyEvaluate(nullptr);
    m_rpc = capnp::makeRpcServer(m_network, capnp::Capability::Client(kj::heap<LocatorObject>(m_context)));
    KJ_IF_MAYBE (rpc, m_rpc)
        rpc->setFlowLimit(2 * options.messageSize / sizeof(capnp::word));
}

Connection::~Connection() noexcept(false) {
    m_stream.SetOnEnd([](wire::StreamEnd) {});
    m_context->connection = nullptr;
    while (!m_context->subscriptions.empty())
        (*m_context->subscriptions.begin())->End();
    m_rpc = nullptr;
}

kj::Promise<void> Connection::OnEnd() { return m_network.onDisconnect().exclusiveJoin(kj::mv(m_kicked)); }

bool Connection::IsCongested() {
    m_peak = std::max(m_peak, m_network.getCurrentQueueSize());
    return m_network.getCurrentQueueSize() > m_options.writeQueue ||
           m_network.getCurrentQueueCount() > m_options.callsInFlight;
}

void Connection::End(const char* reason) {
    ULK_TRACE(m_tracer, ulk::level::Detail)
        << "rpc: connection of user " << m_context->caller.uid << " ends: " << reason;
    m_kick->fulfill();
}

} // namespace tfs::service::rpc
