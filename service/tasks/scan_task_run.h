// SPDX-License-Identifier: GPL-2.0-or-later
// One run of a scan task: waits for the scanner, tests the areas, scans, publishes what is found.
#pragma once

#include <foundation/sync.h>
#include <service/scan/scan_run.h>
#include <service/tasks/scan_engine.h>
#include <service/tasks/task_events.h>
#include <service/tasks/user_names.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

namespace tfs::service::tasks {

/// How a run ended.
struct RunOutcome {
    bool begun = false; ///< false: the scanner wasn't to be had, or the task was stopped before
    scan::ScanEnd end = scan::ScanEnd::Failed;
    std::string error; ///< with Failed
};

/// The registry, as a run sees it. Called on the run's worker and the scan's threads, without a lock of the run held.
class IRunHost {
public:
    virtual ~IRunHost() = default;
    virtual void OnRunBegun(const TaskIdentity& task) = 0;
    virtual void OnRunCounters(const TaskIdentity& task, const ScanStatistic& counters, std::uint64_t bytes) = 0;
    /// Last call of a run.
    virtual void OnRunEnded(const TaskIdentity& task, const RunOutcome& outcome) = 0;
    /// Publishes behind all events of state changes that came before; returns when it is done.
    virtual void PublishFinding(Event event) = 0;
    virtual void PublishProgress(Event event) = 0;
};

class ScanTaskRun final : public scan::IScanObserver {
public:
    struct Description {
        TaskIdentity task;
        Initiator initiator;
        scan::ScanOptions options;
        bool withLocalMounts = false; ///< the areas' other local file systems are scanned too
        bool areasOfUser = false;     ///< the areas were named by a user and are tested before they are scanned
    };

    ScanTaskRun(Description description, IScanEngine& engine, IRunHost& host, UserNames& names);

    /// On the task's worker, once.
    void Execute() noexcept;
    /// From any thread, at any time.
    void Stop() noexcept;
    void Pause() noexcept;
    void Resume() noexcept;

private:
    void OnThreat(const scan::ThreatFound& threat) override;
    void OnNotProcessed(const scan::NotProcessed& object) override;
    void OnProgress(const scan::ScanProgress& progress) override;

    void Run(RunOutcome& outcome);
    void AdmitAreas();
    void CountNotProcessed(const scan::NotProcessed& object);
    void TellCounters();
    std::shared_ptr<scan::IScanRun> Inner() const;
    bool IsStopped() const;

    Description m_description;
    IScanEngine& m_engine;
    IRunHost& m_host;
    UserNames& m_names;

    mutable ulk::Mutex m_mutex;
    bool m_stopped ULK_GUARDED_BY(m_mutex) = false;
    std::shared_ptr<scan::IScanRun> m_inner ULK_GUARDED_BY(m_mutex);

    // Touched by one thread at a time: the worker, and the observer's calls while it waits in Run.
    ScanStatistic m_counters;
    std::uint64_t m_bytes = 0;
    std::string m_lastInfected;
    std::optional<std::uint32_t> m_lastPercent;
    std::chrono::steady_clock::time_point m_lastProgress;
};

} // namespace tfs::service::tasks
