// SPDX-License-Identifier: GPL-2.0-or-later
// The service's socket: accepts clients, authorises their calls, carries events to them.
#pragma once

#include <foundation/object.h>
#include <foundation/trace.h>
#include <service/rpc/blocking_api.h>
#include <service/rpc/service_api.h>
#include <service/store/event_feed.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace tfs::service::rpc {

class RpcServerImpl;

struct RpcServerOptions {
    std::string socketPath;
    std::string adminGroup = "tesl-admin";
    /// The service's own user is an administrator too.
    bool developmentRun = false;

    // Caps. What goes beyond costs the connection that does it.
    std::size_t messageSize = 1024 * 1024;            ///< bytes of one message from a client
    std::uint32_t connectionsPerUser = 16;            ///< more are refused, and closed at once where many come
    std::uint32_t connections = 256;                  ///< in all
    std::uint32_t connectionsOfRootAlone = 16;        ///< of all
    std::uint32_t callsInFlight = 64;                 ///< of one connection; twice as many break it
    std::uint32_t subscriptions = 16;                 ///< of one connection
    std::uint32_t blockingCallsWaiting = 16;          ///< of one connection, beside the one that runs
    std::size_t blockingThreads = 4;                  ///< for all connections
    std::size_t slowThreads = 2;                      ///< for all connections: they move files
    std::chrono::milliseconds firstMessageTime{2000}; ///< until a good greeting
    std::size_t writeQueue = 1024 * 1024;             ///< bytes; beyond it nothing is read and no event is sent
    std::chrono::seconds groupCacheTime{60};          ///< how long a look-up of the administrators' group counts

    /// Called once, on the server's own thread, where serving ended without Stop: the socket is closed and its file
    /// gone by then. Must not call the server and must not throw.
    std::function<void(result_t)> onFailure;
};

/// Figures for tests, benchmarks and the trace. Taken on the loop's thread at one moment.
struct RpcServerFigures {
    std::size_t connections = 0;
    std::size_t subscriptions = 0;
    std::size_t queuedBytes = 0;     ///< in all write queues
    std::size_t peakQueuedBytes = 0; ///< the largest write queue of one connection so far
};

/// Start and Stop are called by the owner, on one thread. Everything else happens on the server's own loop thread, and
/// what may block (group look-ups, the store, BlockingApis) on helper threads. `api`, `feed` and what `blockingApis`
/// names outlive the server.
class RpcServer {
public:
    using Options = RpcServerOptions;

    /// An IBlockingApi will do for `blockingApis`: Storage can't be asked for then. `tracer` may be null.
    RpcServer(Options options, IServiceApi& api, BlockingApis blockingApis, store::IEventFeed& feed,
              ulk::ITracer* tracer);
    /// Stops.
    ~RpcServer();
    RpcServer(const RpcServer&) = delete;
    RpcServer& operator=(const RpcServer&) = delete;

    /// Binds the socket and starts to serve. eAlreadyExists where something else than a stale socket stands at the
    /// path or a live service answers there, eInvalidState when it runs already or has failed and wasn't stopped, else
    /// the code of the system call.
    result_t Start();
    /// Closes every connection, joins the threads, removes the socket if it is still ours. Safe to call twice.
    void Stop();
    /// All zero while it isn't running.
    RpcServerFigures Figures();

private:
    std::unique_ptr<RpcServerImpl> m_impl;
};

} // namespace tfs::service::rpc
