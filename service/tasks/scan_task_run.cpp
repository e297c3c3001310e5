// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/area_access.h>
#include <service/tasks/local_mounts.h>
#include <service/tasks/scan_task_run.h>
#include <service/tasks/threat_treatment.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

namespace tfs::service::tasks {
namespace {

RunEnd EndOf(scan::ScanEnd end) noexcept {
    switch (end) {
    case scan::ScanEnd::Completed:
        return RunEnd::Completed;
    case scan::ScanEnd::Stopped:
        return RunEnd::Stopped;
    case scan::ScanEnd::Failed:
        break;
    }
    return RunEnd::Failed;
}

/// Four progress events a second at most.
constexpr std::chrono::milliseconds ProgressInterval{250};
/// In a long scan a percentage stands for minutes; what is counted must show all the same.
constexpr std::chrono::milliseconds SamePercentInterval{2000};

} // namespace

ScanTaskRun::ScanTaskRun(RunOrder order, Description description, IScanEngine& engine, IRunHost& host, UserNames& names)
    : m_order(std::move(order)), m_description(std::move(description)), m_engine(engine), m_host(host), m_names(names),
      m_counters(m_order.counters), m_bytes(m_order.bytes) {}

void ScanTaskRun::Execute() noexcept {
    RunOutcome outcome;
    try {
        Run(outcome);
    } catch (const std::exception& e) {
        outcome.end = RunEnd::Failed;
        outcome.error = e.what();
    }
    try {
        TellCounters();
        m_host.OnRunEnded(m_order.task, outcome);
    } catch (const std::exception&) { // memory is short; the registry has changed what it could
    }
}

void ScanTaskRun::Run(RunOutcome& outcome) {
    const result_t ready = m_engine.WaitUntilReady([this] { return IsStopped(); }, outcome.error);
    if (!ULK_SUCCEEDED(ready) || IsStopped()) {
        outcome.end = IsStopped() ? RunEnd::Stopped : RunEnd::Failed;
        return;
    }
    if (m_order.isTemporary)
        AdmitAreas();
    if (m_description.withLocalMounts)
        m_description.options.areas = WithLocalMounts(m_description.options.areas);
    // Pausing is possible as soon as the run has begun: the scan must be there by then.
    std::shared_ptr<scan::IScanRun> inner;
    if (m_description.kind != ScanKind::Files || !m_description.options.areas.empty())
        inner = m_engine.MakeRun(m_description.kind, m_description.options, *this);
    {
        const ulk::LockGuard lock(m_mutex);
        m_inner = inner;
        if (m_stopped) {
            outcome.end = RunEnd::Stopped;
            return;
        }
    }
    m_host.OnRunBegun(m_order.task);
    outcome.begun = true;
    if (!inner) {
        outcome.end = RunEnd::Completed; // every area has been told as not processed
        return;
    }
    scan::ScanResult result = inner->Run();
    {
        const ulk::LockGuard lock(m_mutex);
        m_inner.reset();
    }
    outcome.end = EndOf(result.end);
    outcome.error = std::move(result.error);
    TakeCounters(result.counters);
}

void ScanTaskRun::AdmitAreas() {
    std::vector<std::string> admitted;
    for (const std::string& area : m_description.options.areas) {
        AreaAccess access = CheckArea(area, m_description.options.rightsOf);
        if (access.error == 0) {
            admitted.push_back(std::move(access.path));
            continue;
        }
        const std::string why = std::generic_category().message(access.error);
        OnNotProcessed({area, scan::NotProcessedReason::OpenFailed, why});
    }
    m_description.options.areas = std::move(admitted);
}

void ScanTaskRun::OnThreat(const scan::ThreatFound& threat) {
    ++m_counters.threatsFound;
    if (m_lastInfected != threat.path || m_counters.infectedObjects == 0) {
        ++m_counters.infectedObjects;
        m_lastInfected = threat.path;
    }
    Event detected = MakeThreatDetected(m_order.task, m_order.initiator, threat, m_names.Resolve(threat.ownerUid));
    const types::EventSeverity::Type dangerLevel = detected.severity;
    m_host.PublishFinding(std::move(detected));
    Treat(threat, dangerLevel);
    TellCounters();
}

void ScanTaskRun::Treat(const scan::ThreatFound& threat, types::EventSeverity::Type dangerLevel) {
    const TreatmentOrder order{m_order.task, m_order.initiator, m_description.options.rightsOf,
                               [this] { return IsStopped(); }};
    if (!m_description.takesThreats || !MoveToStorage(m_description.keeper, m_host, order, threat, dangerLevel)) {
        ++m_counters.notCuredObjects;
        return;
    }
    ++m_counters.backedUpObjects;
    ++m_counters.deletedObjects;
}

void ScanTaskRun::OnNotProcessed(const scan::NotProcessed& object) {
    CountNotProcessed(object);
    m_host.PublishFinding(
        MakeNotProcessed(m_order.task, m_order.initiator, object.path, scan::ReasonText(object.reason), object.detail));
}

void ScanTaskRun::CountNotProcessed(const scan::NotProcessed& object) {
    if (object.reason == scan::NotProcessedReason::Encrypted)
        ++m_counters.passwordProtectedObjects;
    else
        ++m_counters.scanErrors;
}

void ScanTaskRun::OnProgress(const scan::ScanProgress& progress) {
    TakeCounters(progress);
    TellCounters();
    const std::uint32_t percent = std::max(progress.percent, m_order.percent);
    m_host.OnRunProgress(m_order.task, {percent, progress.secondsLeft});
    const auto now = std::chrono::steady_clock::now();
    const auto interval = m_lastPercent == percent ? SamePercentInterval : ProgressInterval;
    if (m_lastPercent && now - m_lastProgress < interval)
        return;
    m_lastPercent = percent;
    m_lastProgress = now;
    m_host.PublishProgress(MakeProgress(m_order.task, percent));
}

/// The scanner counts from where the run goes on.
void ScanTaskRun::TakeCounters(const scan::ScanProgress& progress) {
    m_counters.scannedObjects = m_order.counters.scannedObjects + progress.scannedObjects;
    m_counters.skippedObjects = m_order.counters.skippedObjects + progress.skipped;
    m_bytes = m_order.bytes + progress.scannedBytes;
}

/// What was found is counted as it was told, once for each event; what was only looked at, up to the checkpoint.
void ScanTaskRun::OnCheckpoint(const std::string& path, const scan::ScanProgress& counters) {
    ScanStatistic upToHere = m_counters;
    upToHere.scannedObjects = m_order.counters.scannedObjects + counters.scannedObjects;
    upToHere.skippedObjects = m_order.counters.skippedObjects + counters.skipped;
    m_host.OnRunCheckpoint(m_order.task, path, upToHere, m_order.bytes + counters.scannedBytes);
}

void ScanTaskRun::TellCounters() { m_host.OnRunCounters(m_order.task, m_counters, m_bytes); }

std::shared_ptr<scan::IScanRun> ScanTaskRun::Inner() const {
    const ulk::LockGuard lock(m_mutex);
    return m_inner;
}

bool ScanTaskRun::IsStopped() const {
    const ulk::LockGuard lock(m_mutex);
    return m_stopped;
}

void ScanTaskRun::Stop() noexcept {
    std::shared_ptr<scan::IScanRun> inner;
    {
        const ulk::LockGuard lock(m_mutex);
        m_stopped = true;
        inner = m_inner;
    }
    if (inner)
        inner->Stop();
}

void ScanTaskRun::Pause() noexcept {
    if (const auto inner = Inner())
        inner->Pause();
}

void ScanTaskRun::Resume() noexcept {
    if (const auto inner = Inner())
        inner->Resume();
}

} // namespace tfs::service::tasks
