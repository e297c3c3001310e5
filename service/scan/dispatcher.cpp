// SPDX-License-Identifier: GPL-2.0-or-later
// Start, stop, state and the thread's loop.
#include <service/scan/dispatcher.h>

#include <algorithm>
#include <cerrno>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace tfs::service::scan {
namespace {

constexpr std::uint64_t WakeSource = 0;
constexpr int PollEvents = 64;
constexpr std::uint32_t DefaultTimeLimitMs = 120000;
/// How often deadlines are looked at while there is work.
constexpr int TickMs = 100;
constexpr int EndPatienceMs = 1000;

std::uint32_t TargetWorkers(const ScannerConfig& config) {
    const std::uint32_t processors = std::max(1u, std::thread::hardware_concurrency());
    const std::uint32_t wanted = config.maxWorkers == 0 ? processors : std::min(config.maxWorkers, processors);
    return std::min(wanted, scanner::MaxWorkers / 2);
}

} // namespace

ScannerService::Impl::Impl(ScannerConfig config, ulk::Ptr<ulk::ITracer> tracer)
    : m_config(std::move(config)), m_targetWorkers(TargetWorkers(m_config)),
      m_fileTimeLimit(m_config.fileTimeLimitMs == 0 ? DefaultTimeLimitMs : m_config.fileTimeLimitMs),
      m_tracer(std::move(tracer)),
      m_cache(CleanCache::Capacity, m_config.settleSeconds == 0 ? CleanCache::SettleSeconds : m_config.settleSeconds,
              MountWatch::RootDevice()),
      m_keeper(m_config.cacheFile, MountWatch::RootDevice(), m_cache), m_load(m_targetWorkers),
      m_parent(std::make_unique<ScannerParent>(0, m_config)) {}

ScannerService::Impl::~Impl() { Stop(); }

result_t ScannerService::Impl::Start() {
    ulk::LockGuard threadLock(m_threadLock);
    {
        ulk::LockGuard lock(m_lock);
        if (m_parent->At() == Phase::Running && m_state.loaded)
            return ulk::sOk;
    }
    if (!m_thread.joinable()) {
        if (const std::string problem = m_keeper.Start(); !problem.empty()) {
            ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << "scanner: no file is remembered as clean: " << problem;
        }
        ulk::LockGuard lock(m_lock);
        m_poll.Reset(::epoll_create1(EPOLL_CLOEXEC));
        m_wake.Reset(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (!m_poll || !m_wake)
            return ulk::ResultFromErrno(errno);
        epoll_event event{EPOLLIN, {.u64 = WakeSource}};
        ::epoll_ctl(m_poll.Get(), EPOLL_CTL_ADD, m_wake.Get(), &event);
        m_stopping = false;
        StartParent(*m_parent);
        m_thread = std::thread([this] { Loop(); });
    } else {
        ulk::LockGuard lock(m_lock);
        if (m_parent->At() == Phase::Failed)
            StartParent(*m_parent);
        Wake();
    }
    ulk::LockGuard lock(m_lock);
    while (!m_state.loaded && m_parent->At() != Phase::Failed && !m_stopping)
        m_changed.wait(lock);
    return m_state.loaded ? ulk::sOk : ulk::eNotReady;
}

void ScannerService::Impl::Stop() noexcept {
    AskToStop(); // a start that is under way gives up
    ulk::LockGuard threadLock(m_threadLock);
    if (!m_thread.joinable())
        return;
    AskToStop(); // a start that came between has taken the first one back
    m_thread.join();
    m_keeper.Stop();
    ulk::LockGuard lock(m_lock); // a run that ends now may be about to wake the loop
    m_poll.Reset();
    m_wake.Reset();
}

void ScannerService::Impl::AskToStop() noexcept {
    ulk::LockGuard lock(m_lock);
    m_stopping = true;
    m_changed.notify_all();
    Wake();
}

ScannerState ScannerService::Impl::State() const {
    ulk::LockGuard lock(m_lock);
    ScannerState state = m_state;
    state.process = m_parent->Process();
    state.workers = CountReady(*m_parent, WorkerKind::Normal) + CountReady(*m_parent, WorkerKind::Low);
    return state;
}

void ScannerService::Impl::SetStateChanged(std::function<void()> changed) {
    ulk::LockGuard lock(m_lock);
    m_stateChanged = std::move(changed);
}

std::uint64_t ScannerService::Impl::BasesVersion() const {
    ulk::LockGuard lock(m_lock);
    return m_parent->Set().version;
}

pid_t ScannerService::Impl::ParentProcess() const {
    ulk::LockGuard lock(m_lock);
    return m_parent->Process();
}

pid_t ScannerService::Impl::NextParentProcess() const {
    ulk::LockGuard lock(m_lock);
    return m_next ? m_next->Process() : -1;
}

std::vector<pid_t> ScannerService::Impl::WorkerProcesses() const {
    ulk::LockGuard lock(m_lock);
    std::vector<pid_t> processes;
    for (const auto& [id, worker] : m_workers)
        processes.push_back(worker.Pid());
    return processes;
}

void ScannerService::Impl::Wake() noexcept {
    const std::uint64_t one = 1;
    while (::write(m_wake.Get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
}

int ScannerService::Impl::Timeout() const {
    const Phase phase = m_parent->At();
    if (phase == Phase::Starting || phase == Phase::Waiting || m_parent->IsSpawning() || m_next || !m_leaving.empty() ||
        !m_clients.empty())
        return TickMs;
    if (phase != Phase::Running)
        return -1;
    const bool quiet = std::all_of(m_workers.begin(), m_workers.end(), [](const auto& each) {
        return each.second.ready && each.second.inFlight.empty() && !each.second.killed;
    });
    return quiet && m_workers.size() == m_targetWorkers ? -1 : TickMs;
}

void ScannerService::Impl::Loop() {
    epoll_event events[PollEvents];
    ulk::LockGuard lock(m_lock);
    const int poll = m_poll.Get(); // closed only after this thread has ended
    while (!m_stopping) {
        CheckParents();
        CheckWorkers();
        LookAtLoad();
        KeepWorkers(*m_parent);
        if (m_next)
            KeepWorkers(*m_next);
        RetireIdle();
        Dispatch();
        Calls calls = TakeCalls();
        const int timeout = Timeout();
        lock.unlock();
        Make(std::move(calls));
        const int count = ::epoll_wait(poll, events, PollEvents, timeout);
        lock.lock();
        for (int i = 0; i < count && !m_stopping; ++i) {
            const std::uint64_t source = events[i].data.u64;
            if (source == WakeSource) {
                std::uint64_t ignored = 0;
                [[maybe_unused]] const ssize_t size = ::read(m_wake.Get(), &ignored, sizeof ignored);
            } else if ((source & 1) != 0) {
                OnParent(source >> 1);
            } else {
                OnWorker(source >> 1);
            }
        }
    }
    for (auto& [id, worker] : m_workers)
        for (Request& request : worker.inFlight)
            Answer(request, {VerdictCode::Cancelled, {}, {}, {}, 0, true});
    m_workers.clear();
    if (m_next)
        DropNext("stopped");
    m_parent->End(EndPatienceMs);
    for (const auto& parent : m_leaving)
        parent->End(EndPatienceMs);
    m_leaving.clear();
    Unavailable("stopped");
    Calls calls = TakeCalls();
    lock.unlock();
    Make(std::move(calls));
}

ScannerService::Impl::Calls ScannerService::Impl::TakeCalls() {
    Calls calls;
    calls.toClients.swap(m_callbacks);
    if (m_stateDirty) {
        m_stateDirty = false;
        calls.stateChanged = m_stateChanged;
        m_changed.notify_all();
    }
    return calls;
}

void ScannerService::Impl::Make(Calls calls) {
    for (Callback& each : calls.toClients) {
        if (each.isVerdict)
            each.client->OnVerdict(each.token, std::move(each.verdict));
        else
            each.client->OnBytes(each.token, each.bytes);
    }
    if (calls.stateChanged)
        calls.stateChanged();
}

void ScannerService::Impl::Answer(Request& request, FileVerdict verdict) {
    if (verdict.code == VerdictCode::Infected)
        verdict.file = std::make_shared<const scanner::Descriptor>(std::move(request.job.file));
    if (request.client)
        m_callbacks.push_back({request.client->client, request.job.token, 0, true, std::move(verdict)});
    request.client.reset();
    request.job.file.Reset();
}

/// Everybody who waits is told; nobody waits for what doesn't come.
void ScannerService::Impl::Unavailable(const std::string& error) {
    m_state.loaded = false;
    m_state.error = error;
    m_stateDirty = true;
    const VerdictCode code = m_parent->At() == Phase::Stopped ? VerdictCode::Cancelled : VerdictCode::EngineFailed;
    for (auto& client : m_clients) {
        for (Request& request : client->queue)
            Answer(request, {code, {}, {}, error, 0, true});
        client->queue.clear();
    }
}

} // namespace tfs::service::scan
