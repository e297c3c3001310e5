// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/area_access.h>
#include <service/tasks/local_mounts.h>
#include <service/tasks/scan_task_run.h>

#include <cerrno>
#include <exception>
#include <system_error>
#include <utility>

namespace tfs::service::tasks {
namespace {

/// Four progress events a second at most.
constexpr std::chrono::milliseconds ProgressInterval{250};
/// In a long scan a percentage stands for minutes; what is counted must show all the same.
constexpr std::chrono::milliseconds SamePercentInterval{2000};

} // namespace

ScanTaskRun::ScanTaskRun(Description description, IScanEngine& engine, IRunHost& host, UserNames& names)
    : m_description(std::move(description)), m_engine(engine), m_host(host), m_names(names) {}

void ScanTaskRun::Execute() noexcept {
    RunOutcome outcome;
    try {
        Run(outcome);
    } catch (const std::exception& e) {
        outcome.end = scan::ScanEnd::Failed;
        outcome.error = e.what();
    }
    try {
        TellCounters();
        m_host.OnRunEnded(m_description.task, outcome);
    } catch (const std::exception&) { // memory is short; the registry has changed what it could
    }
}

void ScanTaskRun::Run(RunOutcome& outcome) {
    const result_t ready = m_engine.WaitUntilReady([this] { return IsStopped(); }, outcome.error);
    if (!ULK_SUCCEEDED(ready) || IsStopped()) {
        outcome.end = IsStopped() ? scan::ScanEnd::Stopped : scan::ScanEnd::Failed;
        return;
    }
    if (m_description.areasOfUser)
        AdmitAreas();
    if (m_description.withLocalMounts)
        m_description.options.areas = WithLocalMounts(m_description.options.areas);
    // Pausing is possible as soon as the run has begun: the scan must be there by then.
    std::shared_ptr<scan::IScanRun> inner;
    if (!m_description.options.areas.empty())
        inner = m_engine.MakeRun(m_description.options, *this);
    {
        const ulk::LockGuard lock(m_mutex);
        m_inner = inner;
        if (m_stopped) {
            outcome.end = scan::ScanEnd::Stopped;
            return;
        }
    }
    m_host.OnRunBegun(m_description.task);
    outcome.begun = true;
    if (!inner) {
        outcome.end = scan::ScanEnd::Completed; // every area has been told as not processed
        return;
    }
    scan::ScanResult result = inner->Run();
    {
        const ulk::LockGuard lock(m_mutex);
        m_inner.reset();
    }
    outcome.end = result.end;
    outcome.error = std::move(result.error);
    m_counters.scannedObjects = result.counters.scannedObjects;
    m_counters.skippedObjects = result.counters.skipped;
    m_bytes = result.counters.scannedBytes;
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
    m_host.PublishFinding(
        MakeThreatDetected(m_description.task, m_description.initiator, threat, m_names.Resolve(threat.ownerUid)));
    TellCounters();
}

void ScanTaskRun::OnNotProcessed(const scan::NotProcessed& object) {
    CountNotProcessed(object);
    m_host.PublishFinding(MakeNotProcessed(m_description.task, m_description.initiator, object.path,
                                           scan::ReasonText(object.reason), object.detail));
}

void ScanTaskRun::CountNotProcessed(const scan::NotProcessed& object) {
    if (object.reason == scan::NotProcessedReason::Encrypted)
        ++m_counters.passwordProtectedObjects;
    else
        ++m_counters.scanErrors;
}

void ScanTaskRun::OnProgress(const scan::ScanProgress& progress) {
    m_counters.scannedObjects = progress.scannedObjects;
    m_counters.skippedObjects = progress.skipped;
    m_bytes = progress.scannedBytes;
    TellCounters();
    const auto now = std::chrono::steady_clock::now();
    const auto interval = m_lastPercent == progress.percent ? SamePercentInterval : ProgressInterval;
    if (m_lastPercent && now - m_lastProgress < interval)
        return;
    m_lastPercent = progress.percent;
    m_lastProgress = now;
    m_host.PublishProgress(MakeProgress(m_description.task, progress.percent));
}

void ScanTaskRun::TellCounters() { m_host.OnRunCounters(m_description.task, m_counters, m_bytes); }

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
