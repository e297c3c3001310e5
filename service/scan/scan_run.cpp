// SPDX-License-Identifier: GPL-2.0-or-later
// A run as its caller sees it: start, progress, the passing on of what was found, the end.
#include <service/scan/boot_source.h>
#include <service/scan/process_source.h>
#include <service/scan/run_core.h>
#include <service/scan/work_count.h>

#include <algorithm>
#include <chrono>
#include <exception>

namespace tfs::service::scan {
namespace {

constexpr std::chrono::milliseconds ProgressInterval{260};
/// A thread that hangs in the file system is left behind after this time; it touches nothing but the core then.
constexpr std::chrono::milliseconds ThreadPatience{400};
constexpr std::chrono::seconds CheckpointInterval{1};
/// A run that is over by then, as one of an unchanged tree is, needs no total; counting would take half of its time.
constexpr std::chrono::milliseconds CountsAfter{300};

/// Files below folders that somebody named.
class AreaSource final : public IScanSource {
public:
    explicit AreaSource(const ScanOptions& options)
        : m_areas(options.areas), m_excludedPaths(options.excludedPaths), m_excludedMasks(options.excludedMasks),
          m_crossFileSystems(options.crossFileSystems) {}
    void Walk(IWalkVisitor& visitor, const std::string& goOnBehind) const override {
        FileWalker(Exclusions(m_excludedPaths, m_excludedMasks), m_crossFileSystems, visitor).Walk(m_areas, goOnBehind);
    }
    bool IsOrdered() const noexcept override { return true; }
    std::vector<std::string> Roots() const override { return m_areas; }

private:
    const std::vector<std::string> m_areas;
    const std::vector<std::string> m_excludedPaths;
    const std::vector<std::string> m_excludedMasks;
    const bool m_crossFileSystems;
};

class ScanRun final : public IScanRun {
public:
    ScanRun(ScannerService& scanner, ScanOptions options, std::unique_ptr<IScanSource> source, IScanObserver& observer)
        : m_core(std::make_shared<RunCore>(scanner.Inner(), std::move(options), std::move(source))),
          m_observer(observer) {}
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
        if (m_options.goOnBehind.empty())
            m_tally.SetTotal(WeightInUse(m_options.areas), 0);
        WaitBeforeCounting();
        WorkCounter counter(m_options.goOnBehind, *this);
        WalkAreas(counter, {});
        if (counter.IsComplete())
            m_tally.SetTotal(counter.Weight(), counter.WeightBefore());
        else
            m_tally.SetTotal(std::max(WeightAround(m_options.areas), counter.Weight()), counter.WeightBefore());
    } catch (const std::exception&) { // without a total there are no percents
    }
    ulk::LockGuard lock(m_lock);
    m_counted = true;
    m_event.notify_all();
}

void RunCore::WaitBeforeCounting() {
    const auto begin = Clock::now() + CountsAfter;
    ulk::LockGuard lock(m_lock);
    while (!m_stop && m_event.wait_until(lock, begin) != std::cv_status::timeout) {
    }
}

void RunCore::PassOn(IScanObserver& observer, bool checkpoint) {
    std::deque<Notable> notables;
    std::string reached;
    ScanProgress counters;
    {
        ulk::LockGuard lock(m_lock);
        notables.swap(m_notables);
        if (checkpoint && m_source->IsOrdered()) {
            reached = m_trail.Reached();
            counters = m_trail.Counts();
            counters.percent = m_tally.Take(false).percent;
        }
        m_room.notify_one();
    }
    while (!notables.empty()) { // one by one, so that each descriptor goes with its threat
        if (const auto* threat = std::get_if<ThreatFound>(&notables.front()))
            observer.OnThreat(*threat);
        else
            observer.OnNotProcessed(std::get<NotProcessed>(notables.front()));
        const bool wasThreat = std::holds_alternative<ThreatFound>(notables.front());
        notables.pop_front();
        if (!wasThreat)
            continue;
        ulk::LockGuard lock(m_lock);
        --m_threatsToTell;
        m_room.notify_one();
    }
    if (reached.empty() || reached == m_checkpoint)
        return;
    m_checkpoint = std::move(reached);
    observer.OnCheckpoint(m_checkpoint, counters);
}

void RunCore::Watch(IScanObserver& observer) {
    auto nextProgress = Clock::now() + ProgressInterval;
    auto nextCheckpoint = Clock::now() + CheckpointInterval;
    for (;;) {
        const auto now = Clock::now();
        PassOn(observer, now >= nextCheckpoint);
        if (now >= nextCheckpoint)
            nextCheckpoint = now + CheckpointInterval;
        if (now >= nextProgress) {
            observer.OnProgress(m_tally.Take(false));
            nextProgress = now + ProgressInterval;
        }
        ulk::LockGuard lock(m_lock);
        if (m_stop || (m_walked && m_inWork.empty() && m_notables.empty()))
            return;
        if (m_paused)
            m_tally.Held();
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
        m_event.notify_all();
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
    const auto client =
        scanner ? scanner->Attach(shared_from_this(), m_options.lowImpact ? WorkerKind::Low : WorkerKind::Normal)
                : nullptr;
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
    PassOn(observer, true); // what was found up to the stop is told
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
    auto source = std::make_unique<AreaSource>(options);
    return std::make_unique<ScanRun>(scanner, std::move(options), std::move(source), observer);
}

std::unique_ptr<IScanRun> MakeMemoryScanRun(ScannerService& scanner, ScanOptions options, IScanObserver& observer,
                                            const std::string& processes) {
    options.areas.clear();
    auto source = std::make_unique<ProcessSource>(processes, Exclusions(options.excludedPaths, options.excludedMasks));
    return std::make_unique<ScanRun>(scanner, std::move(options), std::move(source), observer);
}

std::unique_ptr<IScanRun> MakeBootScanRun(ScannerService& scanner, ScanOptions options, IScanObserver& observer,
                                          const std::string& blockDevices, const std::string& deviceFiles) {
    options.areas.clear();
    auto source = std::make_unique<BootSource>(blockDevices, deviceFiles);
    return std::make_unique<ScanRun>(scanner, std::move(options), std::move(source), observer);
}

} // namespace tfs::service::scan
