// SPDX-License-Identifier: GPL-2.0-or-later
// The dispatcher's clients and the handing out of their files.
#include <service/scan/dispatcher.h>

#include <algorithm>

namespace tfs::service::scan {
namespace {

/// Open files in hand, of one client and of all: descriptors are scarce.
constexpr std::size_t MostFiles = 64;
constexpr std::size_t LeastFiles = 4;
constexpr std::size_t AllFiles = 512;

} // namespace

void ScannerService::Impl::ShareFiles() {
    m_filesAtOnce = std::clamp(AllFiles / std::max<std::size_t>(m_clients.size(), 1), LeastFiles, MostFiles);
}

std::shared_ptr<ClientState> ScannerService::Impl::Attach(std::shared_ptr<IScanClient> client, WorkerKind kind) {
    ulk::LockGuard lock(m_lock);
    if (m_parent->At() == Phase::Stopped || m_parent->At() == Phase::Failed || m_stopping)
        return nullptr;
    if (m_mounts.Changed())
        m_cache.KeepRootDevice();
    auto state = std::make_shared<ClientState>();
    state->client = std::move(client);
    state->kind = kind;
    m_clients.push_back(state);
    ShareFiles();
    Wake();
    return state;
}

void ScannerService::Impl::Detach(const std::shared_ptr<ClientState>& client) {
    std::deque<Request> dropped; // descriptors are closed without the lock
    ulk::LockGuard lock(m_lock);
    std::erase(m_clients, client);
    ShareFiles();
    dropped.swap(client->queue);
    const auto now = Clock::now();
    for (auto& [id, worker] : m_workers) {
        for (Request& request : worker.inFlight) {
            if (request.client != client)
                continue;
            request.client.reset();
            request.cancelledAt = now;
            worker.Cancel(request);
            if (worker.held && &request == worker.Head())
                worker.Kill();
        }
    }
    Wake();
}

void ScannerService::Impl::SetPaused(const std::shared_ptr<ClientState>& client, bool paused) {
    ulk::LockGuard lock(m_lock);
    if (client->paused == paused)
        return;
    client->paused = paused;
    const auto now = Clock::now();
    client->pausedAt = now;
    if (!paused)
        for (auto& [id, worker] : m_workers)
            if (worker.held && worker.Head() != nullptr && worker.Head()->client == client)
                worker.GoOn(now);
    Wake();
}

bool ScannerService::Impl::Submit(const std::shared_ptr<ClientState>& client, FileJob&& job) {
    ulk::LockGuard lock(m_lock);
    if (m_parent->At() == Phase::Stopped || m_parent->At() == Phase::Failed || m_stopping)
        return false;
    Request request;
    request.id = m_nextRequest++;
    request.job = std::move(job);
    request.client = client;
    client->queue.push_back(std::move(request));
    Dispatch();
    return true;
}

WorkerSlot* ScannerService::Impl::FreeWorker(WorkerKind kind) {
    WorkerSlot* best = nullptr;
    std::uint32_t serving = 0;
    const std::uint32_t most = Target(*m_parent, kind); // those beyond it end when they are done
    for (auto& [id, worker] : m_workers) {
        const WorkerOrigin& origin = worker.Origin();
        if (origin.parent != m_parent->Number() || origin.kind != kind || !worker.Serves() || ++serving > most)
            continue;
        if (worker.TakesWork() && (best == nullptr || worker.inFlight.size() < best->inFlight.size()))
            best = &worker;
    }
    return best;
}

void ScannerService::Impl::Dispatch() {
    if (m_parent->At() != Phase::Running || m_clients.empty())
        return;
    const auto now = Clock::now();
    std::size_t idle = 0; // clients in a row that had nothing to give, or nobody to give it to
    while (idle < m_clients.size()) {
        ClientState& client = *m_clients[m_nextClient++ % m_clients.size()];
        WorkerSlot* worker = client.paused || client.queue.empty() ? nullptr : FreeWorker(client.kind);
        if (worker == nullptr) {
            ++idle;
            continue;
        }
        idle = 0;
        if (!worker->Give(client.queue.front(), now))
            return; // its end is noticed by the loop
        client.queue.pop_front();
        const std::uint32_t limit = m_config.filesPerWorker == 0 ? 10000 : m_config.filesPerWorker;
        if (++worker->files >= limit)
            worker->retiring = true;
    }
}

} // namespace tfs::service::scan
