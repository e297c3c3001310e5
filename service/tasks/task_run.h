// SPDX-License-Identifier: GPL-2.0-or-later
// One run of a task, whatever it does, and the registry as a run sees it.
#pragma once

#include <contract/tfs/event.h>
#include <contract/tfs/tasks.h>
#include <service/tasks/task_events.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace tfs::service::tasks {

enum class RunEnd {
    Completed,
    Stopped, ///< by a command
    Failed,
};

/// How a run ended.
struct RunOutcome {
    bool begun = false; ///< false: what it needs wasn't to be had, or it was stopped before
    RunEnd end = RunEnd::Failed;
    types::TaskNotStartedReason::Type reason = types::TaskNotStartedReason::InternalError; ///< where it wasn't begun
    std::string error;                                                                     ///< with Failed
};

/// How far a run has come. Percent never falls within a run.
struct RunProgress {
    std::uint32_t percent = 0;
    std::optional<std::uint32_t> secondsLeft; ///< empty until an estimate has settled
};

/// The registry, as a run sees it. Called on the run's worker and threads of what it uses, without a lock of the run
/// held.
class IRunHost {
public:
    virtual ~IRunHost() = default;
    virtual void OnRunBegun(const TaskIdentity& task) = 0;
    /// What was begun waits for something that it can't do without; OnRunBegun tells that it goes on.
    virtual void OnRunWaits([[maybe_unused]] const TaskIdentity& task) {}
    virtual void OnRunCounters(const TaskIdentity& task, const ScanStatistic& counters, std::uint64_t bytes) = 0;
    virtual void OnRunProgress(const TaskIdentity& task, const RunProgress& progress) = 0;
    /// Where a run that is resumed by another process of the service would go on, and what it would count on from; kept
    /// with the state.
    virtual void OnRunCheckpoint(const TaskIdentity& task, const std::string& checkpoint, const ScanStatistic& counters,
                                 std::uint64_t bytes) = 0;
    /// Last call of a run.
    virtual void OnRunEnded(const TaskIdentity& task, const RunOutcome& outcome) = 0;
    /// Publishes behind all events of state changes that came before; returns when it is done.
    virtual void PublishFinding(Event event) = 0;
    virtual void PublishProgress(Event event) = 0;
};

/// Made for one run. Execute is called once on the task's worker, and its last call is the host's OnRunEnded; the
/// others may be called from any thread at any time.
class ITaskRun {
public:
    virtual ~ITaskRun() = default;
    virtual void Execute() noexcept = 0;
    /// Execute returns within a second.
    virtual void Stop() noexcept = 0;
    virtual void Pause() noexcept = 0;
    virtual void Resume() noexcept = 0;
};

/// What a run is to do.
struct RunOrder {
    TaskIdentity task;
    Initiator initiator;
    ulk::types::any_struct_t settings; ///< of the task's kind
    /// Only what this user may do and read; empty: all that the service may.
    std::optional<std::uint32_t> rightsOf;
    bool isTemporary = false; ///< made by a user for this run: what it names is tested before it is touched
    std::string checkpoint;   ///< where to go on; empty: from the beginning
    ScanStatistic counters;   ///< of the run that goes on
    std::uint64_t bytes = 0;
    std::uint32_t percent = 0;
};

/// Makes runs of one kind of task. Outlives the registry.
class IRunFactory {
public:
    virtual ~IRunFactory() = default;
    /// Never null. Makes nothing but the object: called under the registry's lock.
    virtual std::shared_ptr<ITaskRun> MakeRun(RunOrder order, IRunHost& host) = 0;
    /// Are the settings of use? `problem` is one line for people where they aren't. Pure, under the same lock.
    virtual bool Accepts([[maybe_unused]] const ulk::types::any_struct_t& settings,
                         [[maybe_unused]] std::string& problem) const {
        return true;
    }
    /// Is there anything to do now? Where there isn't, the task can't be started. From memory, under the same lock.
    virtual bool IsAvailable() const noexcept { return true; }
};

} // namespace tfs::service::tasks
