// SPDX-License-Identifier: GPL-2.0-or-later
// The loop's side of the server: accepting, counting, ending connections.
#pragma once

#include <service/rpc/administrators.h>
#include <service/rpc/connection.h>
#include <service/rpc/event_hub.h>
#include <service/rpc/rpc_server.h>
#include <service/rpc/worker.h>

#include <cstdint>
#include <kj/async-io.h>
#include <kj/async-unix.h>
#include <list>
#include <map>

namespace tfs::service::rpc {

/// What outlives the loop.
struct RpcLoopDependencies {
    const RpcServerOptions& options;
    IServiceApi& api;
    store::IEventFeed& feed;
    ulk::ITracer* tracer;
    wire::LoopQueue& queue;
    Worker& groupWorker;
    Worker& storeWorker;
    int listeningSocket;
};

/// Made, used and destroyed on the loop's thread.
class RpcLoop final : private kj::TaskSet::ErrorHandler {
public:
    RpcLoop(kj::AsyncIoContext& io, const RpcLoopDependencies& dependencies);
    ~RpcLoop() noexcept(false);
    KJ_DISALLOW_COPY(RpcLoop);

    RpcServerFigures Figures();

private:
    /// A client that has been accepted and whose groups are being looked up.
    struct Newcomer {
        kj::AutoCloseFd socket;
        Caller caller;
    };

    void taskFailed(kj::Exception&& exception) override;
    kj::Promise<void> AcceptLoop();
    /// False where the process is out of descriptors.
    bool AcceptWaiting();
    void Admit(kj::AutoCloseFd socket);
    void Identify(std::uint64_t id, bool isAdministrator);
    void Serve(kj::AutoCloseFd socket, const Caller& caller);
    void Leave(uid_t uid);

    kj::AsyncIoContext& m_io;
    const RpcLoopDependencies m_dependencies;
    kj::Timer& m_timer;
    AdministratorCache m_administrators;
    EventHub m_hub;
    std::map<uid_t, std::uint32_t> m_perUser;
    std::uint32_t m_count = 0;
    std::uint64_t m_nextNewcomer = 1;
    std::map<std::uint64_t, Newcomer> m_newcomers;
    std::list<kj::Own<Connection>> m_connections;
    std::size_t m_peakQueuedBytes = 0;
    kj::UnixEventPort::FdObserver m_listener;
    kj::TaskSet m_tasks;
};

} // namespace tfs::service::rpc
