// SPDX-License-Identifier: GPL-2.0-or-later
// The loop's side of the server: accepting, counting, ending connections.
#pragma once

#include <service/rpc/administrators.h>
#include <service/rpc/connection.h>
#include <service/rpc/connection_quota.h>
#include <service/rpc/event_hub.h>
#include <service/rpc/refusal_log.h>
#include <service/rpc/rpc_server.h>
#include <service/rpc/worker.h>

#include <cstdint>
#include <kj/async-io.h>
#include <kj/async-unix.h>
#include <list>
#include <map>
#include <optional>

namespace tfs::service::rpc {

/// What outlives the loop.
struct RpcLoopDependencies {
    const RpcServerOptions& options;
    IServiceApi& api;
    BlockingApis blockingApis;
    store::IEventFeed& feed;
    ulk::ITracer* tracer;
    wire::LoopQueue& queue;
    Worker& groupWorker;
    Worker& storeWorker;
    Worker& blockingWorkers;
    Worker& slowWorkers;
    int listeningSocket;
};

/// Made, used and destroyed on the loop's thread alone; a debug build asserts it.
class RpcLoop final : private kj::TaskSet::ErrorHandler {
public:
    RpcLoop(kj::AsyncIoContext& io, const RpcLoopDependencies& dependencies);
    ~RpcLoop() noexcept(false);
    KJ_DISALLOW_COPY(RpcLoop);

    /// Accepts clients as long as it is kept; never resolves. Fails where the socket can't be accepted from any more.
    kj::Promise<void> Accept();

    RpcServerFigures Figures();

private:
    /// A client that has been accepted, on its way to being served.
    struct Newcomer {
        kj::AutoCloseFd socket;
        Caller caller;
        ConnectionQuota::Place place;
    };
    struct Guest {
        ConnectionQuota::Place place;
        kj::Own<Connection> connection;
    };
    enum class Waiting { None, Some, UntilLater };

    void taskFailed(kj::Exception&& exception) override;
    void AssertThread() const;
    /// Tells who may wait still.
    Waiting AcceptSome();
    void Admit(kj::AutoCloseFd socket);
    void Refuse(kj::AutoCloseFd socket, const Caller& caller);
    void EndRefusalRound();
    std::optional<bool> IsAdministrator(uid_t uid) const;
    void LookUp(Newcomer newcomer);
    void Identify(std::uint64_t id, bool isAdministrator);
    void Serve(Newcomer newcomer, result_t admission);

    kj::AsyncIoContext& m_io;
    const RpcLoopDependencies m_dependencies;
    kj::Timer& m_timer;
    AdministratorCache m_administrators;
    EventHub m_hub;
    ConnectionQuota m_places;
    ConnectionQuota m_refusalPlaces;
    RefusalLog m_refusals;
    bool m_mustWait = false; ///< told in the trace
    std::uint64_t m_nextNewcomer = 1;
    std::map<std::uint64_t, Newcomer> m_newcomers;
    std::list<Guest> m_guests;
    std::size_t m_peakQueuedBytes = 0;
    kj::UnixEventPort::FdObserver m_listener;
    kj::TaskSet m_tasks;
};

} // namespace tfs::service::rpc
