// SPDX-License-Identifier: GPL-2.0-or-later
// The dispatcher's dealings with the scanner's parents: start, loss, and the exchange of one signature set for another.
#include <service/scan/dispatcher.h>

#include <algorithm>
#include <csignal>
#include <sys/epoll.h>

namespace tfs::service::scan {
namespace {

using scanner::Message;
using scanner::MessageKind;

constexpr unsigned MostParentLosses = 20;
constexpr std::chrono::milliseconds CancelPoll{100};

} // namespace

ScannerParent* ScannerService::Impl::FindParent(std::uint64_t number) {
    if (m_parent->Number() == number)
        return m_parent.get();
    if (m_next && m_next->Number() == number)
        return m_next.get();
    const auto found = std::find_if(m_leaving.begin(), m_leaving.end(),
                                    [number](const auto& each) { return each->Number() == number; });
    return found == m_leaving.end() ? nullptr : found->get();
}

void ScannerService::Impl::StartParent(ScannerParent& parent) {
    parent.Start();
    if (parent.At() == Phase::Failed)
        return FailParent(parent, std::string(parent.Error()));
    epoll_event event{EPOLLIN, {.u64 = parent.Number() << 1 | 1}};
    ::epoll_ctl(m_poll.Get(), EPOLL_CTL_ADD, parent.Control(), &event);
}

void ScannerService::Impl::OnParent(std::uint64_t number) {
    ScannerParent* parent = FindParent(number);
    if (parent == nullptr || parent->Control() < 0)
        return;
    scanner::Received received;
    switch (scanner::Receive(parent->Control(), received, MSG_DONTWAIT)) {
    case scanner::ReceiveResult::Nothing:
        return;
    case scanner::ReceiveResult::Message:
        break;
    default:
        return LoseParent(*parent, "its socket closed");
    }
    const Message& message = received.message;
    switch (message.kind) {
    case MessageKind::Loaded:
        return OnLoaded(*parent, message);
    case MessageKind::LoadFailed:
        return FailParent(*parent, Printable(message.first));
    case MessageKind::WorkerStarted:
        return OnWorkerStarted(*parent, received);
    case MessageKind::WorkerFailed: {
        WorkerKind ignored{};
        parent->TakeAsked(message.id, ignored);
        return NoteSpawnFailure(*parent, Printable(message.first));
    }
    case MessageKind::WorkerEnded:
        if (message.code != 0 && message.code != SIGKILL) { // which is how we end them
            ULK_TRACE(m_tracer.Get(), ulk::level::Notable)
                << "scanner: worker " << message.id << " ended, status " << message.code;
        }
        return;
    default:
        return LoseParent(*parent, "it sent what it never sends");
    }
}

void ScannerService::Impl::OnLoaded(ScannerParent& parent, const Message& message) {
    parent.Loaded(message);
    if (parent.At() == Phase::Failed)
        return FailParent(parent, std::string(parent.Error()));
    if (&parent == m_parent.get())
        TakeIntoUse(parent);
}

void ScannerService::Impl::TakeIntoUse(const ScannerParent& parent) {
    const ScannerParent::LoadedSet& set = parent.Set();
    m_cache.Use(set.version);
    m_state.signatures = set.signatures;
    m_state.basesDate = set.date;
    m_state.engineVersion = set.engineVersion;
    m_state.sandbox = set.sandbox;
    m_stateDirty = true;
    ULK_TRACE(m_tracer.Get(), ulk::level::Notable)
        << "scanner: " << set.signatures << " signatures, engine " << set.engineVersion << ", " << set.sandbox;
}

/// The workers die with their parent. What they had in hand goes back, the oldest in front.
void ScannerService::Impl::LoseWorkersOf(const ScannerParent& parent) {
    for (auto at = m_workers.begin(); at != m_workers.end();) {
        if (at->second.Origin().parent != parent.Number()) {
            ++at;
            continue;
        }
        const auto node = m_workers.extract(at++);
        std::deque<Request>& inFlight = node.mapped().inFlight;
        for (auto request = inFlight.rbegin(); request != inFlight.rend(); ++request) {
            if (++request->parentLosses > MostParentLosses)
                Answer(*request, {VerdictCode::EngineFailed, {}, {}, "the scanner was lost again and again"});
            else
                GiveBack(std::move(*request));
        }
    }
}

void ScannerService::Impl::LoseParent(ScannerParent& parent, const char* why) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "scanner lost: " << why;
    if (&parent == m_next.get())
        return DropNext(std::string("the scanner was lost while it loaded the signatures: ") + why);
    LoseWorkersOf(parent);
    if (&parent != m_parent.get())
        return parent.Leave(); // there is nothing left to drain
    parent.Lose();
    m_stateDirty = true;
    if (parent.At() == Phase::Failed)
        Unavailable(parent.Error());
}

void ScannerService::Impl::FailParent(ScannerParent& parent, const std::string& why) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "scanner: " << why;
    if (&parent == m_next.get())
        return DropNext(why);
    if (&parent != m_parent.get())
        return;
    LoseWorkersOf(parent);
    parent.Fail(why);
    Unavailable(why);
}

void ScannerService::Impl::CheckParents() {
    const auto now = Clock::now();
    if (const char* why = m_parent->Overdue(now))
        LoseParent(*m_parent, why);
    if (m_parent->RestartIsDue(now))
        StartParent(*m_parent);
    if (m_next) {
        if (const char* why = m_next->Overdue(now))
            LoseParent(*m_next, why);
        else
            SwapIfReady();
    }
    for (const auto& parent : m_leaving) {
        const bool drained = std::none_of(m_workers.begin(), m_workers.end(), [&](const auto& each) {
            return each.second.Origin().parent == parent->Number();
        });
        if (drained && parent->At() != Phase::Stopped)
            parent->Leave();
    }
    std::erase_if(m_leaving, [](const auto& each) { return each->At() == Phase::Stopped && each->IsGone(); });
}

/// All workers of the new parent have to be there, so that nothing waits for one to be forked.
void ScannerService::Impl::SwapIfReady() {
    if (m_next->At() != Phase::Running || CountReady(*m_next, WorkerKind::Normal) < m_targetWorkers)
        return;
    std::unique_ptr<ScannerParent> old = std::exchange(m_parent, std::move(m_next));
    LetGo(std::move(old));
    m_state.loaded = true;
    m_state.error.clear();
    TakeIntoUse(*m_parent);
    m_swapped = true;
    m_changed.notify_all();
}

/// Its workers finish the file that each has in hand; all other files are for the new signatures.
void ScannerService::Impl::LetGo(std::unique_ptr<ScannerParent> parent) {
    for (auto& [id, worker] : m_workers) {
        if (worker.Origin().parent != parent->Number())
            continue;
        worker.retiring = true;
        TakeBackBehind(worker);
        if (!worker.ready || worker.held) { // a paused file may be paused for days; it begins anew
            worker.takenBack = true;
            worker.Kill();
        }
    }
    m_leaving.push_back(std::move(parent));
}

void ScannerService::Impl::DropNext(const std::string& why) {
    m_swapError = why;
    LoseWorkersOf(*m_next);
    m_next->Leave();
    m_leaving.push_back(std::move(m_next));
    m_changed.notify_all();
}

result_t ScannerService::Impl::Replace(const std::string& basesFolder, const std::function<bool()>& cancelled,
                                       std::string& why) {
    ulk::LockGuard one(m_replaceLock);
    ulk::LockGuard lock(m_lock);
    if (m_stopping || m_parent->At() == Phase::Stopped) {
        why = "the scanner is not started";
        return ulk::eNotReady;
    }
    ScannerConfig config = m_config;
    config.basesFolder = basesFolder;
    m_swapped = false;
    m_swapError.clear();
    m_next = std::make_unique<ScannerParent>(m_nextParent++, std::move(config));
    StartParent(*m_next);
    Wake();
    while (m_next) {
        lock.unlock();
        const bool given = cancelled && cancelled();
        lock.lock();
        if (given && m_next) {
            DropNext("cancelled");
            Wake();
            why = m_swapError;
            return ulk::eCancelled;
        }
        if (m_next)
            m_changed.wait_for(lock, CancelPoll);
    }
    if (m_swapped)
        return ulk::sOk;
    why = m_swapError;
    return m_stopping ? ulk::eCancelled : ulk::eNotReady;
}

} // namespace tfs::service::scan
