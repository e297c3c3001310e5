// SPDX-License-Identifier: GPL-2.0-or-later
// The dispatcher's dealings with the scanner's processes: start, loss, replacement, deadlines.
#include <service/scan/dispatcher.h>

#include <algorithm>
#include <csignal>
#include <sys/epoll.h>

namespace tfs::service::scan {
namespace {

using namespace std::chrono_literals;
using scanner::Message;
using scanner::MessageKind;

constexpr std::uint64_t ParentSource = 1;
constexpr unsigned MostAttempts = 2;
constexpr unsigned MostParentLosses = 20;
constexpr unsigned MostLosses = 8;
constexpr unsigned MostSpawnFailures = 8;
constexpr std::size_t MostHeldOfTarget = 2;
constexpr int MessagesAtOnce = 64;
constexpr auto LoadDeadline = 300s;
constexpr auto SpawnDeadline = 5s;
constexpr auto ReadyDeadline = 5s;
constexpr auto KillDeadline = 2s;
constexpr auto LeastBackOff = 50ms;
constexpr auto MostBackOff = 1000ms;
/// How long a cancelled or paused file may go on before its worker is killed or stopped.
constexpr auto Patience = 250ms;

std::string Printable(std::string_view text) {
    std::string result(text);
    for (char& c : result)
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7F)
            c = '?';
    return result;
}

} // namespace

void ScannerService::Impl::StartParent() {
    m_phase = Phase::Starting;
    m_phaseSince = Clock::now();
    m_spawning = 0;
    m_spawnFailures = 0;
    m_spawnNotBefore = {};
    const std::string error = m_process.Start(m_config);
    if (!error.empty()) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << error;
        m_phase = Phase::Failed;
        return Unavailable(error);
    }
    epoll_event event{EPOLLIN, {.u64 = ParentSource}};
    ::epoll_ctl(m_poll.Get(), EPOLL_CTL_ADD, m_process.Control(), &event);
}

void ScannerService::Impl::EndParent(int patienceMs) {
    m_process.End(patienceMs); // its socket leaves the poll set by being closed
}

void ScannerService::Impl::OnParent() {
    if (m_phase != Phase::Starting && m_phase != Phase::Running)
        return;
    scanner::Received received;
    switch (scanner::Receive(m_process.Control(), received, MSG_DONTWAIT)) {
    case scanner::ReceiveResult::Nothing:
        return;
    case scanner::ReceiveResult::Message:
        break;
    default:
        return LoseParent("its socket closed");
    }
    const Message& message = received.message;
    switch (message.kind) {
    case MessageKind::Loaded:
        return OnLoaded(message);
    case MessageKind::LoadFailed:
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "scanner: " << Printable(message.first);
        EndParent(1000);
        m_phase = Phase::Failed;
        return Unavailable(Printable(message.first));
    case MessageKind::WorkerStarted:
        return OnWorkerStarted(received);
    case MessageKind::WorkerFailed:
        m_spawning -= m_spawning != 0 ? 1 : 0;
        return NoteSpawnFailure(Printable(message.first).c_str());
    case MessageKind::WorkerEnded:
        if (message.code != 0 && message.code != SIGKILL) { // which is how we end them
            ULK_TRACE(m_tracer.Get(), ulk::level::Notable)
                << "scanner: worker " << message.id << " ended, status " << message.code;
        }
        return;
    default:
        return LoseParent("it sent what it never sends");
    }
}

void ScannerService::Impl::OnLoaded(const Message& message) {
    if (message.code != scanner::ProtocolVersion) {
        EndParent(0);
        m_phase = Phase::Failed;
        return Unavailable("the scanner is of another version");
    }
    m_phase = Phase::Running;
    m_phaseSince = Clock::now();
    m_losses = 0;
    m_basesVersion = message.id;
    m_state.signatures = message.value;
    m_state.basesDate = message.time;
    m_state.engineVersion = Printable(message.first);
    m_state.sandbox = Printable(message.second);
    ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << "scanner: " << m_state.signatures << " signatures, engine "
                                                   << m_state.engineVersion << ", " << m_state.sandbox;
}

void ScannerService::Impl::LoseParent(const char* why) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "scanner lost: " << why;
    const auto now = Clock::now();
    const bool lived = m_phase == Phase::Running && now - m_phaseSince > 10s;
    EndParent(0);
    // The workers die with their parent. What they had in hand goes back, the oldest in front.
    std::map<std::uint64_t, WorkerSlot> lost;
    lost.swap(m_workers);
    for (auto& [id, worker] : lost) {
        for (auto request = worker.inFlight.rbegin(); request != worker.inFlight.rend(); ++request) {
            if (++request->parentLosses > MostParentLosses)
                Answer(*request, {VerdictCode::EngineFailed, {}, {}, "the scanner was lost again and again"});
            else
                GiveBack(std::move(*request));
        }
    }
    m_stateDirty = true;
    if (++m_losses > MostLosses) {
        m_phase = Phase::Failed;
        return Unavailable("the scanner ends before its signatures are loaded");
    }
    m_backOff = lived ? std::chrono::milliseconds(LeastBackOff)
                      : std::clamp<std::chrono::milliseconds>(2 * m_backOff, LeastBackOff, MostBackOff);
    m_phase = Phase::Waiting;
    m_restartAt = now + m_backOff;
}

void ScannerService::Impl::OnWorkerStarted(scanner::Received& received) {
    m_spawning -= m_spawning != 0 ? 1 : 0;
    const std::uint64_t id = received.message.id;
    if (!received.descriptors[0] || !received.descriptors[1] || m_workers.contains(id))
        return NoteSpawnFailure("descriptors are missing");
    const auto [slot, made] =
        m_workers.try_emplace(id, id, static_cast<pid_t>(received.message.code), std::move(received.descriptors[0]),
                              std::move(received.descriptors[1]));
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
        m_spawnFailures = 0;
        if (!m_state.loaded) {
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
        Answer(request, {code, Printable(message.first), std::string(message.second), Printable(message.third)});
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
    if (!worker.ready)
        NoteSpawnFailure("a worker ended before it was ready");
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

void ScannerService::Impl::CheckDeadlines() {
    const auto now = Clock::now();
    if (m_phase == Phase::Waiting && now >= m_restartAt)
        StartParent();
    else if (m_phase == Phase::Starting && now - m_phaseSince > LoadDeadline)
        LoseParent("the signatures took too long to load");
    else if (m_phase == Phase::Running && m_spawning != 0 && now - m_spawnAskedAt > SpawnDeadline)
        LoseParent("it doesn't answer");
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
    } else if (const auto grace = std::clamp<std::chrono::milliseconds>(m_fileTimeLimit / 2, 500ms, 10000ms);
               now - worker.headSince > m_fileTimeLimit + grace) {
        ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << "scanner: worker " << worker.Id() << " is over its time";
        worker.overTime = true;
        worker.Kill();
    }
}

/// Stopped processes keep their memory, so there are only so many; beyond that a paused file begins anew later.
void ScannerService::Impl::HoldWorker(WorkerSlot& worker, Clock::time_point now) {
    const auto held =
        std::count_if(m_workers.begin(), m_workers.end(), [](const auto& each) { return each.second.held; });
    if (static_cast<std::size_t>(held) >= MostHeldOfTarget * m_targetWorkers) {
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

void ScannerService::Impl::KeepWorkers() {
    if (m_phase != Phase::Running || Clock::now() < m_spawnNotBefore)
        return;
    const auto working =
        static_cast<std::uint32_t>(std::count_if(m_workers.begin(), m_workers.end(), [](const auto& each) {
            return !each.second.retiring && !each.second.held && !each.second.killed;
        }));
    for (std::uint32_t have = working + m_spawning; have < m_targetWorkers; ++have) {
        if (scanner::Send(m_process.Control(), {.kind = MessageKind::Spawn, .id = m_nextWorker}, {}, MSG_DONTWAIT) != 0)
            return; // full or closed; the loop comes by again
        ++m_nextWorker;
        ++m_spawning;
        m_spawnAskedAt = Clock::now();
    }
}

void ScannerService::Impl::NoteSpawnFailure(const char* why) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "scanner: no worker: " << why;
    m_spawnNotBefore =
        Clock::now() + std::min<std::chrono::milliseconds>(10ms * (1 << std::min(m_spawnFailures, 8u)), MostBackOff);
    const bool none =
        std::none_of(m_workers.begin(), m_workers.end(), [](const auto& each) { return each.second.ready; });
    if (++m_spawnFailures < MostSpawnFailures || !none)
        return;
    m_workers.clear();
    EndParent(0);
    m_phase = Phase::Failed;
    Unavailable(std::string("the scanner's workers can't be started: ") + why);
}

/// Lets go workers that had their share of files, or that are too many after a pause.
void ScannerService::Impl::RetireIdle() {
    auto working = static_cast<std::size_t>(std::count_if(m_workers.begin(), m_workers.end(), [](const auto& each) {
        return !each.second.retiring && !each.second.held;
    }));
    for (auto& [id, worker] : m_workers)
        if (working > m_targetWorkers && worker.ready && !worker.retiring && !worker.held && worker.inFlight.empty()) {
            worker.retiring = true;
            --working;
        }
    std::erase_if(m_workers, [](const auto& each) {
        return each.second.retiring && each.second.inFlight.empty() && !each.second.held;
    });
}

} // namespace tfs::service::scan
