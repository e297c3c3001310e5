// SPDX-License-Identifier: GPL-2.0-or-later
// A run as its caller sees it: start, progress, the passing on of what was found, the end.
#include <service/scan/run_core.h>

#include <chrono>
#include <exception>

namespace tfs::service::scan {
namespace {

constexpr std::chrono::milliseconds ProgressInterval{260};
/// A thread that hangs in the file system is left behind after this time; it touches nothing but the core then.
constexpr std::chrono::milliseconds ThreadPatience{400};
constexpr std::uint64_t CountStep = 4096; ///< files between two looks at the total

/// Adds up what the walk will come by, without opening a file.
class CountingVisitor final : public IWalkVisitor {
public:
    CountingVisitor(ScanTally& tally, IWalkVisitor& run) : m_tally(tally), m_run(run) {}
    void OnFile(const FoundFile& file) override {
        m_weight += FileWeight + static_cast<std::uint64_t>(file.status.st_size);
        if (++m_files % CountStep == 0)
            m_tally.SetTotal(m_weight, false);
    }
    void OnSkipped(const std::string&) override {}
    void OnUnreadable(const std::string&, int, const std::string&) override {}
    bool GoOn() override { return m_run.GoOn(); }
    std::uint64_t Weight() const noexcept { return m_weight; }

private:
    ScanTally& m_tally;
    IWalkVisitor& m_run;
    std::uint64_t m_weight = 0;
    std::uint64_t m_files = 0;
};

class ScanRun final : public IScanRun {
public:
    ScanRun(ScannerService& scanner, ScanOptions options, IScanObserver& observer)
        : m_core(std::make_shared<RunCore>(scanner.Inner(), std::move(options))), m_observer(observer) {}
    ScanResult Run() override { return m_core->Run(m_observer); }
    void Stop() noexcept override { m_core->Stop(); }
    void Pause() noexcept override { m_core->SetPaused(true); }
    void Resume() noexcept override { m_core->SetPaused(false); }

private:
    const std::shared_ptr<RunCore> m_core;
    IScanObserver& m_observer;
};

} // namespace

void RunCore::Count() noexcept {
    try {
        CountingVisitor visitor(m_tally, *this);
        WalkAreas(visitor);
        m_tally.SetTotal(visitor.Weight(), true);
    } catch (const std::exception&) { // without a total there are no percents
    }
    ulk::LockGuard lock(m_lock);
    m_counted = true;
    m_event.notify_all();
}

bool RunCore::PassOn(IScanObserver& observer) {
    std::deque<Notable> notables;
    {
        ulk::LockGuard lock(m_lock);
        notables.swap(m_notables);
        m_room.notify_one();
    }
    for (const Notable& each : notables) {
        if (const auto* threat = std::get_if<ThreatFound>(&each))
            observer.OnThreat(*threat);
        else
            observer.OnNotProcessed(std::get<NotProcessed>(each));
    }
    return !notables.empty();
}

void RunCore::Watch(IScanObserver& observer) {
    auto nextProgress = Clock::now() + ProgressInterval;
    for (;;) {
        PassOn(observer);
        if (Clock::now() >= nextProgress) {
            observer.OnProgress(m_tally.Take(false));
            nextProgress = Clock::now() + ProgressInterval;
        }
        ulk::LockGuard lock(m_lock);
        if (m_stop || (m_walked && m_inWork.empty() && m_notables.empty()))
            return;
        if (m_notables.empty())
            m_event.wait_until(lock, nextProgress);
    }
}

void RunCore::WaitForThreads(std::thread& walker, std::thread& counter) {
    const auto deadline = Clock::now() + ThreadPatience;
    bool walked = false;
    bool counted = false;
    {
        ulk::LockGuard lock(m_lock);
        m_room.notify_all();
        while (!((m_walked || !walker.joinable()) && (m_counted || !counter.joinable())) &&
               m_event.wait_until(lock, deadline) != std::cv_status::timeout) {
        }
        walked = m_walked;
        counted = m_counted;
    }
    const auto part = [](std::thread& thread, bool ended) {
        if (thread.joinable())
            ended ? thread.join() : thread.detach();
    };
    part(walker, walked);
    part(counter, counted);
}

ScanResult RunCore::Run(IScanObserver& observer) {
    const auto scanner = m_scanner.lock();
    const auto client = scanner ? scanner->Attach(shared_from_this()) : nullptr;
    if (!client)
        return {ScanEnd::Failed, {}, scanner ? scanner->State().error : std::string()};
    bool paused = false;
    {
        ulk::LockGuard lock(m_lock);
        m_client = client;
        paused = m_paused;
    }
    if (paused)
        scanner->SetPaused(client, true);
    const auto self = shared_from_this();
    std::thread walker;
    std::thread counter;
    ScanResult result;
    try {
        walker = std::thread([self] { self->Walk(); });
        counter = std::thread([self] { self->Count(); });
        Watch(observer);
        result.end = m_stop ? ScanEnd::Stopped : ScanEnd::Completed;
    } catch (const std::exception& error) {
        result = {ScanEnd::Failed, {}, error.what()};
    }
    m_stop = true;
    scanner->Detach(client);
    WaitForThreads(walker, counter);
    {
        ulk::LockGuard lock(m_lock);
        m_inWork.clear();
        if (!m_error.empty())
            result = {ScanEnd::Failed, {}, m_error};
    }
    PassOn(observer); // what was found up to the stop is told
    result.counters = m_tally.Take(result.end == ScanEnd::Completed);
    observer.OnProgress(result.counters);
    return result;
}

void RunCore::Stop() noexcept {
    ulk::LockGuard lock(m_lock);
    m_stop = true;
    m_event.notify_all();
    m_room.notify_all();
}

void RunCore::SetPaused(bool paused) noexcept {
    std::shared_ptr<ClientState> client;
    {
        ulk::LockGuard lock(m_lock);
        m_paused = paused;
        client = m_client;
        m_room.notify_all();
    }
    if (const auto scanner = m_scanner.lock(); scanner && client)
        scanner->SetPaused(client, paused);
}

const char* ReasonText(NotProcessedReason reason) noexcept {
    switch (reason) {
    case NotProcessedReason::OpenFailed:
        return "can't be opened";
    case NotProcessedReason::AccessDenied:
        return "access denied";
    case NotProcessedReason::ReadError:
        return "can't be read";
    case NotProcessedReason::Changed:
        return "changed while it was read";
    case NotProcessedReason::Encrypted:
        return "encrypted";
    case NotProcessedReason::Limit:
        return "over a limit";
    case NotProcessedReason::TimeLimit:
        return "takes too long";
    case NotProcessedReason::NotUnpacked:
        return "can't be unpacked";
    case NotProcessedReason::EngineFailed:
        return "the scanner failed";
    case NotProcessedReason::OutOfSpace:
        return "no space for temporary files";
    case NotProcessedReason::Cancelled:
        return "cancelled";
    }
    return "unknown";
}

std::unique_ptr<IScanRun> MakeScanRun(ScannerService& scanner, ScanOptions options, IScanObserver& observer) {
    return std::make_unique<ScanRun>(scanner, std::move(options), observer);
}

} // namespace tfs::service::scan
