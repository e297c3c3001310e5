// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/rpc_loop.h>
#include <wire/results.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <kj/debug.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace tfs::service::rpc {
namespace {

/// Clients accepted before others get their turn.
constexpr int AcceptsInARow = 32;

/// Clients beyond their number who are told so, instead of being hung up on.
constexpr ConnectionQuota::Limits RefusalLimits{16, 2};

} // namespace

RpcLoop::RpcLoop(kj::AsyncIoContext& io, const RpcLoopDependencies& dependencies)
    : m_io(io), m_dependencies(dependencies), m_timer(io.provider->getTimer()),
      m_administrators(dependencies.options.groupCacheTime),
      m_hub(dependencies.feed, dependencies.queue, dependencies.storeWorker, m_timer, dependencies.tracer),
      m_places({dependencies.options.connections, dependencies.options.connectionsPerUser,
                dependencies.options.connectionsOfRootAlone}),
      m_refusalPlaces(RefusalLimits), m_refusals(dependencies.tracer),
      m_listener(io.unixEventPort, dependencies.listeningSocket, kj::UnixEventPort::FdObserver::OBSERVE_READ),
      m_tasks(*this) {
    AssertThread();
}

RpcLoop::~RpcLoop() noexcept(false) { AssertThread(); }

void RpcLoop::AssertThread() const { assert(m_dependencies.queue.IsCurrent()); }

kj::Promise<void> RpcLoop::Accept() {
    AssertThread();
    // Armed before accepting, so that a client that comes in between isn't overlooked.
    auto armed = m_listener.whenBecomesReadable();
    switch (AcceptSome()) {
    case Waiting::UntilLater:
        return m_timer.afterDelay(100 * kj::MILLISECONDS).then([this] { return Accept(); });
    case Waiting::Some:
        // By the timer, because the loop looks at its sockets only when it waits for something from outside.
        return m_timer.afterDelay(0 * kj::MILLISECONDS).then([this] { return Accept(); });
    case Waiting::None:
        break;
    }
    return armed.then([this] { return Accept(); });
}

RpcLoop::Waiting RpcLoop::AcceptSome() {
    for (int i = 0; i < AcceptsInARow; ++i) {
        const int accepted = ::accept4(m_dependencies.listeningSocket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (accepted >= 0) {
            m_mustWait = false;
            Admit(kj::AutoCloseFd(accepted));
            continue;
        }
        switch (const int error = errno) {
        case EAGAIN:
            return Waiting::None;
        case EINTR:
        case ECONNABORTED:
            break;
        case EBADF:
        case EINVAL:
        case ENOTSOCK:
        case EOPNOTSUPP:
            kj::throwFatalException(KJ_EXCEPTION(FAILED, "the socket can't be accepted from", error));
        default: // mostly no descriptors left
            if (!std::exchange(m_mustWait, true)) {
                ULK_TRACE(m_dependencies.tracer, ulk::level::Failure)
                    << "rpc: clients have to wait: " << ulk::ResultText(ulk::ResultFromErrno(error));
            }
            return Waiting::UntilLater;
        }
    }
    return Waiting::Some;
}

void RpcLoop::Admit(kj::AutoCloseFd socket) {
    try {
        ucred peer{};
        socklen_t size = sizeof(peer);
        if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
            return;
        Newcomer newcomer{kj::mv(socket), Caller{peer.uid, false, peer.pid}, m_places.Take(peer.uid)};
        if (!newcomer.place) {
            Refuse(kj::mv(newcomer.socket), newcomer.caller);
        } else if (const auto isAdministrator = IsAdministrator(peer.uid)) {
            newcomer.caller.isAdministrator = *isAdministrator;
            Serve(std::move(newcomer), ulk::sOk);
        } else {
            LookUp(std::move(newcomer));
        }
    } catch (...) {
        const result_t result = wire::ResultFromCurrentException();
        ULK_TRACE(m_dependencies.tracer, ulk::level::Failure)
            << "rpc: a client can't be served: " << ulk::ResultText(result);
    }
}

void RpcLoop::Refuse(kj::AutoCloseFd socket, const Caller& caller) {
    if (m_refusals.Note(caller.uid, caller.pid))
        EndRefusalRound();
    if (auto place = m_refusalPlaces.Take(caller.uid))
        Serve({kj::mv(socket), caller, std::move(place)}, ulk::eInsufficientResources);
}

void RpcLoop::EndRefusalRound() {
    m_tasks.add(m_timer.afterDelay(1 * kj::SECONDS).then([this] {
        if (m_refusals.EndRound())
            EndRefusalRound();
    }));
}

std::optional<bool> RpcLoop::IsAdministrator(uid_t uid) const {
    if (uid == 0 || (m_dependencies.options.developmentRun && uid == ::geteuid()))
        return true;
    return m_administrators.Find(uid);
}

void RpcLoop::LookUp(Newcomer newcomer) {
    const RpcServerOptions& options = m_dependencies.options;
    const std::uint64_t id = m_nextNewcomer++;
    const uid_t uid = newcomer.caller.uid;
    m_newcomers.emplace(id, std::move(newcomer));
    const bool posted = m_dependencies.groupWorker.Post([this, id, uid, &options, &queue = m_dependencies.queue] {
        const bool isAdministrator = LookUpAdministrator(uid, options.adminGroup, options.developmentRun);
        queue.PostFunction([this, id, isAdministrator] { Identify(id, isAdministrator); });
    });
    if (!posted)
        m_newcomers.erase(id);
}

void RpcLoop::Identify(std::uint64_t id, bool isAdministrator) {
    AssertThread();
    auto node = m_newcomers.extract(id);
    Newcomer& newcomer = node.mapped();
    m_administrators.Remember(newcomer.caller.uid, isAdministrator);
    newcomer.caller.isAdministrator = isAdministrator;
    Serve(std::move(newcomer), ulk::sOk);
}

void RpcLoop::Serve(Newcomer newcomer, result_t admission) {
    const Caller& caller = newcomer.caller;
    ULK_TRACE(m_dependencies.tracer, ulk::level::Detail)
        << "rpc: user " << caller.uid << " (process " << static_cast<int>(caller.pid) << ") connected"
        << (caller.isAdministrator ? " as administrator" : "");
    const auto queueOf = [this](Worker& workers) {
        return std::make_shared<BlockingCalls>(m_dependencies.blockingApis, workers, m_dependencies.queue,
                                               m_dependencies.options.blockingCallsWaiting);
    };
    auto connection = kj::heap<Connection>(m_io, kj::mv(newcomer.socket), caller, admission, m_dependencies.options,
                                           m_dependencies.api, queueOf(m_dependencies.blockingWorkers),
                                           queueOf(m_dependencies.slowWorkers), m_hub, m_dependencies.tracer);
    const auto place = m_guests.insert(m_guests.end(), Guest{std::move(newcomer.place), kj::mv(connection)});
    // KJ keeps a reference to an lvalue handed to then(): hand it temporaries.
    const auto remove = [this, place] {
        m_peakQueuedBytes = std::max(m_peakQueuedBytes, place->connection->PeakQueuedBytes());
        m_guests.erase(place);
    };
    m_tasks.add(place->connection->OnEnd().then([remove] { remove(); }, [remove](kj::Exception&&) { remove(); }));
}

RpcServerFigures RpcLoop::Figures() {
    AssertThread();
    RpcServerFigures figures;
    figures.subscriptions = m_hub.Count();
    figures.peakQueuedBytes = m_peakQueuedBytes;
    for (auto& [place, connection] : m_guests) {
        figures.connections += connection->IsServed() ? 1 : 0;
        figures.queuedBytes += connection->QueuedBytes();
        figures.peakQueuedBytes = std::max(figures.peakQueuedBytes, connection->PeakQueuedBytes());
    }
    return figures;
}

void RpcLoop::taskFailed(kj::Exception&& exception) {
    ULK_TRACE(m_dependencies.tracer, ulk::level::Failure) << "rpc: " << exception.getDescription().cStr();
}

} // namespace tfs::service::rpc
