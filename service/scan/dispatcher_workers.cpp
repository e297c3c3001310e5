// SPDX-License-Identifier: GPL-2.0-or-later
// The dispatcher's dealings with workers: their messages, loss, replacement, deadlines.
#include <service/scan/dispatcher.h>

#include <algorithm>
#include <csignal>
#include <sys/epoll.h>

namespace tfs::service::scan {
namespace {

using namespace std::chrono_literals;
using scanner::Message;
using scanner::MessageKind;

constexpr unsigned MostAttempts = 2;
constexpr std::size_t MostHeldOfTarget = 2;
constexpr int MessagesAtOnce = 64;
constexpr auto ReadyDeadline = 5s;
constexpr auto KillDeadline = 2s;
/// How long a cancelled or paused file may go on before its worker is killed or stopped.
constexpr auto Patience = 250ms;

} // namespace

void ScannerService::Impl::OnWorkerStarted(ScannerParent& parent, scanner::Received& received) {
    WorkerOrigin origin{parent.Number(), parent.Set().version, WorkerKind::Normal};
    const std::uint64_t id = received.message.id;
    if (!parent.TakeAsked(id, origin.kind) || !received.descriptors[0] || !received.descriptors[1])
        return NoteSpawnFailure(parent, "descriptors are missing, or nobody asked for it");
    const auto [slot, made] =
        m_workers.try_emplace(id, id, origin, static_cast<pid_t>(received.message.code),
                              std::move(received.descriptors[0]), std::move(received.descriptors[1]));
    epoll_event event{EPOLLIN, {.u64 = id << 1}};
    ::epoll_ctl(m_poll.Get(), EPOLL_CTL_ADD, slot->second.Channel(), &event);
}

void ScannerService::Impl::OnWorker(std::uint64_t id) {
    const auto found = m_workers.find(id);
    if (found == m_workers.end())
        return;
    WorkerSlot& worker = found->second;
    scanner::Received received;
    for (int i = 0; i < MessagesAtOnce; ++i) { // one that never falls silent must not keep the others waiting
        switch (scanner::Receive(worker.Channel(), received, MSG_DONTWAIT)) {
        case scanner::ReceiveResult::Nothing:
            return;
        case scanner::ReceiveResult::Message:
            if (OnWorkerMessage(worker, received.message))
                continue;
            [[fallthrough]];
        case scanner::ReceiveResult::Garbage:
            ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "scanner: worker " << id << " broke the protocol";
            [[fallthrough]];
        case scanner::ReceiveResult::Closed:
            return LoseWorker(id);
        }
    }
}

/// False when the worker says what it may not say: it is of no use any more, and its files are tried elsewhere.
bool ScannerService::Impl::OnWorkerMessage(WorkerSlot& worker, const Message& message) {
    switch (message.kind) {
    case MessageKind::Ready:
        if (worker.ready)
            return false;
        worker.ready = true;
        if (ScannerParent* parent = FindParent(worker.Origin().parent))
            parent->NoteWorkerReady();
        if (!m_state.loaded && worker.Origin().parent == m_parent->Number()) {
            m_state.loaded = true;
            m_state.error.clear();
            m_stateDirty = true;
        }
        return true;
    case MessageKind::Progress: {
        const Request* head = worker.Head();
        if (head == nullptr || head->id != message.id)
            return false;
        if (head->client)
            m_callbacks.push_back(
                {head->client->client, head->job.token, std::min(message.value, head->job.size), false, {}});
        return true;
    }
    case MessageKind::Verdict:
        return OnVerdict(worker, message);
    default:
        return false;
    }
}

bool ScannerService::Impl::OnVerdict(WorkerSlot& worker, const Message& message) {
    const auto code = static_cast<VerdictCode>(message.code);
    const Request* known = worker.Find(message.id);
    if (known == nullptr || message.code > static_cast<std::uint32_t>(scanner::LastVerdictCode) ||
        (code == VerdictCode::Infected && message.first.empty()) || (code == VerdictCode::Cancelled && known->client))
        return false;
    Request request = worker.Take(message.id, Clock::now());
    if (code == VerdictCode::TimeLimit && request.held) { // time that passed while the user had paused is no answer
        request.held = false;
        GiveBack(std::move(request));
    } else {
        Answer(request, {code, Printable(message.first), std::string(message.second), Printable(message.third),
                         worker.Origin().basesVersion});
    }
    return true;
}

void ScannerService::Impl::GiveBack(Request request) {
    if (!request.client)
        return;
    request.id = m_nextRequest++;
    const std::shared_ptr<ClientState> client = request.client;
    client->queue.push_front(std::move(request));
}

void ScannerService::Impl::LoseWorker(std::uint64_t id) {
    auto node = m_workers.extract(id);
    if (node.empty())
        return;
    WorkerSlot& worker = node.mapped();
    ScannerParent* parent = FindParent(worker.Origin().parent);
    if (!worker.ready && !worker.retiring && parent != nullptr)
        NoteSpawnFailure(*parent, "a worker ended before it was ready");
    std::deque<Request>& inFlight = worker.inFlight;
    for (std::size_t i = inFlight.size(); i-- > 1;)
        GiveBack(std::move(inFlight[i]));
    if (inFlight.empty())
        return;
    Request& head = inFlight.front();
    if (worker.takenBack || ++head.attempts < MostAttempts)
        GiveBack(std::move(head));
    else if (worker.overTime)
        Answer(head, {VerdictCode::TimeLimit, {}, {}, "the file takes too long"});
    else
        Answer(head, {VerdictCode::EngineFailed, {}, {}, "the scanning process ended twice over this file"});
}

void ScannerService::Impl::CheckWorkers() {
    const auto now = Clock::now();
    std::vector<std::uint64_t> undead; // killed, but held in the kernel by what they read from
    for (auto& [id, worker] : m_workers) {
        CheckWorker(worker, now);
        if (worker.killed && now - worker.killedAt > KillDeadline)
            undead.push_back(id);
    }
    for (const std::uint64_t id : undead)
        LoseWorker(id);
}

void ScannerService::Impl::CheckWorker(WorkerSlot& worker, Clock::time_point now) {
    Request* head = worker.Head();
    if (worker.killed)
        return;
    if (!worker.ready && now - worker.startedAt > ReadyDeadline)
        return worker.Kill();
    if (head == nullptr || worker.held)
        return;
    if (!head->client) {
        if (now - std::max(head->cancelledAt, worker.headSince) > Patience)
            worker.Kill();
    } else if (head->client->paused) {
        if (now - std::max(head->client->pausedAt, worker.headSince) > Patience)
            HoldWorker(worker, now);
    } else if (now - worker.headSince > TimeFor(worker, head->job)) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << "scanner: worker " << worker.Id() << " is over its time";
        worker.overTime = true;
        worker.Kill();
    }
}

/// The file's time and some grace, in which the engine gives up by itself.
std::chrono::milliseconds ScannerService::Impl::TimeFor(const WorkerSlot& worker, const FileJob& job) const {
    const std::chrono::milliseconds asked{job.limits.timeLimitMs};
    const auto most = m_fileTimeLimit * (worker.Origin().kind == WorkerKind::Low ? scanner::LowTimeFactor : 1);
    const auto limit = asked.count() == 0 ? most : std::min<std::chrono::milliseconds>(asked, most);
    return limit + std::clamp<std::chrono::milliseconds>(limit / 2, 500ms, 10000ms);
}

/// Stopped processes keep their memory, so there are only so many; beyond that a paused file begins anew later.
void ScannerService::Impl::HoldWorker(WorkerSlot& worker, Clock::time_point now) {
    const auto held =
        std::count_if(m_workers.begin(), m_workers.end(), [](const auto& each) { return each.second.held; });
    if (worker.retiring || static_cast<std::size_t>(held) >= MostHeldOfTarget * m_targetWorkers) {
        worker.takenBack = true;
        return worker.Kill();
    }
    worker.Hold(now);
    TakeBackBehind(worker);
}

/// Others' files don't wait behind one that its user has paused.
void ScannerService::Impl::TakeBackBehind(WorkerSlot& worker) {
    for (std::size_t i = 1; i < worker.inFlight.size(); ++i) {
        Request& request = worker.inFlight[i];
        if (!request.client || request.client->paused)
            continue;
        Request left; // stands for the answer that the worker will still give
        left.id = request.id;
        left.cancelledAt = Clock::now();
        worker.Cancel(request);
        GiveBack(std::exchange(request, std::move(left)));
    }
}

std::uint32_t ScannerService::Impl::Target(const ScannerParent& parent, WorkerKind kind) const {
    if (&parent != m_parent.get() && &parent != m_next.get())
        return 0;
    if (kind == WorkerKind::Normal)
        return m_targetWorkers;
    return &parent == m_parent.get() && HasLowClients() ? m_load.Allowed() : 0;
}

bool ScannerService::Impl::HasLowClients() const {
    return std::any_of(m_clients.begin(), m_clients.end(),
                       [](const auto& client) { return client->kind == WorkerKind::Low; });
}

void ScannerService::Impl::LookAtLoad() {
    const auto now = Clock::now();
    if (!m_load.IsDue(now) || !HasLowClients())
        return;
    std::vector<pid_t> own;
    for (const auto& [id, worker] : m_workers)
        if (worker.Origin().kind == WorkerKind::Low)
            own.push_back(worker.Pid());
    m_load.Look(now, own);
}

/// Those that can take work now or soon.
std::uint32_t ScannerService::Impl::CountWorkers(const ScannerParent& parent, WorkerKind kind) const {
    return static_cast<std::uint32_t>(std::count_if(m_workers.begin(), m_workers.end(), [&](const auto& each) {
        const WorkerSlot& worker = each.second;
        return worker.Origin().parent == parent.Number() && worker.Origin().kind == kind && worker.Serves();
    }));
}

std::uint32_t ScannerService::Impl::CountReady(const ScannerParent& parent, WorkerKind kind) const {
    return static_cast<std::uint32_t>(std::count_if(m_workers.begin(), m_workers.end(), [&](const auto& each) {
        return each.second.Origin().parent == parent.Number() && each.second.Origin().kind == kind && each.second.ready;
    }));
}

void ScannerService::Impl::KeepWorkers(ScannerParent& parent) {
    const auto now = Clock::now();
    for (const WorkerKind kind : {WorkerKind::Normal, WorkerKind::Low})
        for (std::uint32_t have = CountWorkers(parent, kind) + parent.Spawning(kind); have < Target(parent, kind);
             ++have) {
            if (!parent.Spawn(m_nextWorker, kind, now))
                return;
            ++m_nextWorker;
        }
}

void ScannerService::Impl::NoteSpawnFailure(ScannerParent& parent, const std::string& why) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "scanner: no worker: " << why;
    const bool none = CountReady(parent, WorkerKind::Normal) + CountReady(parent, WorkerKind::Low) == 0;
    if (parent.NoteSpawnFailure(Clock::now()) && none)
        FailParent(parent, "the scanner's workers can't be started: " + why);
}

/// Lets go workers that had their share of files, or that are too many.
void ScannerService::Impl::RetireIdle() {
    for (const WorkerKind kind : {WorkerKind::Normal, WorkerKind::Low}) {
        std::uint32_t working = CountWorkers(*m_parent, kind);
        for (auto& [id, worker] : m_workers)
            if (working > Target(*m_parent, kind) && worker.Origin().parent == m_parent->Number() &&
                worker.Origin().kind == kind && worker.ready && worker.Serves() && worker.inFlight.empty()) {
                worker.retiring = true;
                --working;
            }
    }
    std::erase_if(m_workers, [](const auto& each) {
        return each.second.retiring && each.second.inFlight.empty() && !each.second.held;
    });
}

} // namespace tfs::service::scan
