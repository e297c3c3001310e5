// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/rpc_loop.h>

#include <algorithm>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

namespace tfs::service::rpc {

RpcLoop::RpcLoop(kj::AsyncIoContext& io, const RpcLoopDependencies& dependencies)
    : m_io(io), m_dependencies(dependencies), m_timer(io.provider->getTimer()),
      m_administrators(dependencies.options.groupCacheTime),
      m_hub(dependencies.feed, dependencies.queue, dependencies.storeWorker, m_timer, dependencies.tracer),
      m_listener(io.unixEventPort, dependencies.listeningSocket, kj::UnixEventPort::FdObserver::OBSERVE_READ),
      m_tasks(*this) {
    m_tasks.add(AcceptLoop());
}

RpcLoop::~RpcLoop() noexcept(false) {}

kj::Promise<void> RpcLoop::AcceptLoop() {
    // Armed before accepting, so that a client that comes in between isn't overlooked.
    auto armed = m_listener.whenBecomesReadable();
    if (!AcceptWaiting())
        return m_timer.afterDelay(100 * kj::MILLISECONDS).then([this] { return AcceptLoop(); });
    return armed.then([this] { return AcceptLoop(); });
}

bool RpcLoop::AcceptWaiting() {
    while (true) {
        const int accepted = ::accept4(m_dependencies.listeningSocket, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
        if (accepted >= 0) {
            Admit(kj::AutoCloseFd(accepted));
            continue;
        }
        switch (errno) {
        case EINTR:
        case ECONNABORTED:
            continue;
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case ENOMEM:
            ULK_TRACE(m_dependencies.tracer, ulk::level::Failure) << "rpc: out of descriptors, clients have to wait";
            return false;
        default:
            return true;
        }
    }
}

void RpcLoop::Admit(kj::AutoCloseFd socket) {
    const RpcServerOptions& options = m_dependencies.options;
    ucred peer{};
    socklen_t size = sizeof(peer);
    if (::getsockopt(socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0)
        return;
    std::uint32_t& ofUser = m_perUser[peer.uid];
    if (m_count >= options.connections || ofUser >= options.connectionsPerUser) {
        ULK_TRACE(m_dependencies.tracer, ulk::level::Notable)
            << "rpc: too many connections, one of user " << peer.uid << " (process " << peer.pid << ") is refused";
        if (ofUser == 0)
            m_perUser.erase(peer.uid);
        return;
    }
    ++m_count;
    ++ofUser;
    Caller caller;
    caller.uid = peer.uid;
    caller.pid = peer.pid;
    if (peer.uid == 0 || (options.developmentRun && peer.uid == ::geteuid())) {
        caller.isAdministrator = true;
        Serve(kj::mv(socket), caller);
        return;
    }
    if (const auto known = m_administrators.Find(peer.uid)) {
        caller.isAdministrator = *known;
        Serve(kj::mv(socket), caller);
        return;
    }
    const std::uint64_t id = m_nextNewcomer++;
    m_newcomers.emplace(id, Newcomer{kj::mv(socket), caller});
    const bool posted =
        m_dependencies.groupWorker.Post([this, id, uid = peer.uid, &options, &queue = m_dependencies.queue] {
            const bool isAdministrator = LookUpAdministrator(uid, options.adminGroup, options.developmentRun);
            queue.PostFunction([this, id, isAdministrator] { Identify(id, isAdministrator); });
        });
    if (!posted) {
        m_newcomers.erase(id);
        Leave(peer.uid);
    }
}

void RpcLoop::Identify(std::uint64_t id, bool isAdministrator) {
    auto node = m_newcomers.extract(id);
    Newcomer& newcomer = node.mapped();
    m_administrators.Remember(newcomer.caller.uid, isAdministrator);
    newcomer.caller.isAdministrator = isAdministrator;
    Serve(kj::mv(newcomer.socket), newcomer.caller);
}

void RpcLoop::Serve(kj::AutoCloseFd socket, const Caller& caller) {
    ULK_TRACE(m_dependencies.tracer, ulk::level::Detail)
        << "rpc: user " << caller.uid << " (process " << static_cast<int>(caller.pid) << ") connected"
        << (caller.isAdministrator ? " as administrator" : "");
    const auto place = m_connections.insert(m_connections.end(),
                                            kj::heap<Connection>(m_io, kj::mv(socket), caller, m_dependencies.options,
                                                                 m_dependencies.api, m_hub, m_dependencies.tracer));
    // KJ keeps a reference to an lvalue handed to then(): hand it temporaries.
    const auto remove = [this, place, uid = caller.uid] {
        m_peakQueuedBytes = std::max(m_peakQueuedBytes, (*place)->PeakQueuedBytes());
        m_connections.erase(place);
        Leave(uid);
    };
    m_tasks.add((*place)->OnEnd().then([remove] { remove(); }, [remove](kj::Exception&&) { remove(); }));
}

void RpcLoop::Leave(uid_t uid) {
    --m_count;
    if (const auto found = m_perUser.find(uid); found != m_perUser.end() && --found->second == 0)
        m_perUser.erase(found);
}

RpcServerFigures RpcLoop::Figures() {
    RpcServerFigures figures;
    figures.connections = m_connections.size();
    figures.subscriptions = m_hub.Count();
    figures.peakQueuedBytes = m_peakQueuedBytes;
    for (auto& connection : m_connections) {
        figures.queuedBytes += connection->QueuedBytes();
        figures.peakQueuedBytes = std::max(figures.peakQueuedBytes, connection->PeakQueuedBytes());
    }
    return figures;
}

void RpcLoop::taskFailed(kj::Exception&& exception) {
    ULK_TRACE(m_dependencies.tracer, ulk::level::Failure) << "rpc: " << exception.getDescription().cStr();
}

} // namespace tfs::service::rpc
