// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/listening_socket.h>
#include <service/rpc/rpc_loop.h>
#include <service/rpc/rpc_server.h>
#include <service/rpc/worker.h>
#include <wire/loop_thread.h>
#include <wire/results.h>

#include <future>
#include <kj/exception.h>
#include <thread>
#include <utility>

namespace tfs::service::rpc {

/// One run of the server, from Start to Stop.
class RpcServerRun {
public:
    RpcServerRun(const RpcServerOptions& options, IServiceApi& api, BlockingApis blockingApis, store::IEventFeed& feed,
                 ulk::ITracer* tracer)
        : m_options(options), m_api(api), m_blockingApis(blockingApis), m_feed(feed), m_tracer(tracer) {}
    ~RpcServerRun() {
        m_queue.RequestStop();
        if (m_thread.joinable())
            m_thread.join();
        m_groupWorker.Stop();
        m_storeWorker.Stop();
        m_blockingWorkers.Stop();
        m_slowWorkers.Stop();
    }

    result_t Start() {
        if (const result_t result = m_socket.Open(m_options.socketPath); !ULK_SUCCEEDED(result))
            return result;
        std::promise<result_t> started;
        auto answer = started.get_future();
        m_thread = wire::StartQuietThread("rpc", [this, &started] { Loop(started); });
        return answer.get();
    }

    RpcServerFigures Figures() {
        const auto promise = std::make_shared<std::promise<RpcServerFigures>>();
        auto answer = promise->get_future();
        if (!m_queue.PostFunction([this, promise] { promise->set_value(m_loop->Figures()); }))
            return {};
        return answer.wait_for(std::chrono::seconds(5)) == std::future_status::ready ? answer.get()
                                                                                     : RpcServerFigures{};
    }

private:
    void Loop(std::promise<result_t>& started) noexcept {
        m_queue.Adopt();
        bool running = false;
        result_t result = ulk::sOk;
        try {
            auto io = kj::setupAsyncIo();
            RpcLoop loop(io, {m_options, m_api, m_blockingApis, m_feed, m_tracer, m_queue, m_groupWorker, m_storeWorker,
                              m_blockingWorkers, m_slowWorkers, m_socket.Descriptor()});
            m_loop = &loop;
            running = true;
            started.set_value(ulk::sOk);
            m_queue.Serve(io, m_tracer, loop.Accept());
        } catch (const kj::Exception& e) {
            result = wire::ResultFromException(e);
            ULK_TRACE(m_tracer, ulk::level::Failure) << "rpc: the loop ended: " << e.getDescription().cStr();
        } catch (...) {
            result = wire::ResultFromCurrentException();
            ULK_TRACE(m_tracer, ulk::level::Failure) << "rpc: the loop ended: " << ulk::ResultText(result);
        }
        m_loop = nullptr;
        m_queue.Close();
        if (!running)
            started.set_value(result);
        else if (!ULK_SUCCEEDED(result))
            Fail(result);
    }

    /// Clients must not go on connecting to a socket that nobody accepts from.
    void Fail(result_t result) noexcept {
        m_socket.Close();
        if (m_options.onFailure)
            m_options.onFailure(result);
    }

    const RpcServerOptions& m_options;
    IServiceApi& m_api;
    const BlockingApis m_blockingApis;
    store::IEventFeed& m_feed;
    ulk::ITracer* const m_tracer;
    ListeningSocket m_socket; ///< the loop's thread while it runs, else the owner's
    wire::LoopQueue m_queue;
    Worker m_groupWorker{"rpc-groups"};
    Worker m_storeWorker{"rpc-store"};
    Worker m_blockingWorkers{"rpc-blocking", m_options.blockingThreads};
    Worker m_slowWorkers{"rpc-slow", m_options.slowThreads};
    RpcLoop* m_loop = nullptr; ///< the loop's thread alone
    std::thread m_thread;
};

class RpcServerImpl {
public:
    RpcServerImpl(RpcServerOptions given, IServiceApi& serviceApi, BlockingApis blocking, store::IEventFeed& eventFeed,
                  ulk::ITracer* trace)
        : options(std::move(given)), api(serviceApi), blockingApis(blocking), feed(eventFeed), tracer(trace) {}

    const RpcServerOptions options;
    IServiceApi& api;
    const BlockingApis blockingApis;
    store::IEventFeed& feed;
    ulk::ITracer* const tracer;
    std::unique_ptr<RpcServerRun> run;
};

RpcServer::RpcServer(Options options, IServiceApi& api, BlockingApis blockingApis, store::IEventFeed& feed,
                     ulk::ITracer* tracer)
    : m_impl(std::make_unique<RpcServerImpl>(std::move(options), api, blockingApis, feed, tracer)) {}

RpcServer::~RpcServer() { Stop(); }

result_t RpcServer::Start() {
    if (m_impl->run)
        return ulk::eInvalidState;
    try {
        auto run = std::make_unique<RpcServerRun>(m_impl->options, m_impl->api, m_impl->blockingApis, m_impl->feed,
                                                  m_impl->tracer);
        const result_t result = run->Start();
        if (ULK_SUCCEEDED(result))
            m_impl->run = std::move(run);
        return result;
    } catch (...) {
        return wire::ResultFromCurrentException();
    }
}

void RpcServer::Stop() { m_impl->run.reset(); }

RpcServerFigures RpcServer::Figures() {
    if (!m_impl->run)
        return {};
    try {
        return m_impl->run->Figures();
    } catch (const std::exception&) {
        return {};
    }
}

} // namespace tfs::service::rpc
