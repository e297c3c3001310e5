// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/event_subscription.h>
#include <control/path_arguments.h>
#include <control/scan_file.h>
#include <control/scan_watch.h>

#include <algorithm>
#include <chrono>

namespace tfs::control {

namespace {

using std::chrono::steady_clock;
using namespace std::chrono_literals;

constexpr auto Step = 100ms;       ///< how late a request to stop may be noticed
constexpr auto QuietTime = 2s;     ///< without an event for so long the service is asked
constexpr auto StopDeadline = 15s; ///< for a stop that was asked for

/// One scan from its start to its end.
class Scan {
public:
    Scan(const CommandContext& context, ITfsTaskManager& tasks, EventQueue& events, std::uint64_t taskId)
        : m_context(context), m_tasks(tasks), m_events(events), m_taskId(taskId), m_watch(taskId, context.reporter) {}

    ScanWatch& Watch() noexcept { return m_watch; }

    void WaitForEnd() {
        auto lastEvent = steady_clock::now();
        while (!m_watch.HasEnded()) {
            if (const auto event = m_events.Pop(Step)) {
                m_watch.Take(*event);
                lastEvent = steady_clock::now();
                continue;
            }
            if (!m_context.isServiceAlive())
                throw Failure(ExitCode::Unavailable, "The service went away while the scan was running.");
            HeedStopRequest();
            if (steady_clock::now() - lastEvent >= QuietTime) {
                if (IsOver())
                    return;
                lastEvent = steady_clock::now();
            }
        }
    }

private:
    void HeedStopRequest() {
        const unsigned requests = m_context.stopRequests();
        if (requests == 0)
            return;
        if (!m_stopAsked) {
            m_stopAsked = true;
            m_stopDeadline = steady_clock::now() + StopDeadline;
            const result_t result = m_tasks.StopTask(TaskId());
            if (result != ulk::eNotFound && result != ulk::eInvalidState)
                ThrowIfFailed(result, "Cannot stop the scan");
        } else if (requests > 1 || steady_clock::now() >= m_stopDeadline) {
            throw Failure(ExitCode::Timeout, "The scan was told to stop; its end was not waited for.");
        }
    }

    /// The service is asked where events are long in coming, so that a lost one can't make us wait for ever.
    bool IsOver() {
        core::TaskInfo task;
        const result_t result = m_tasks.GetTaskInfo(TaskId(), task);
        if (result == ulk::eNotFound)
            return true;
        ThrowIfFailed(result, "Cannot read the state of the scan");
        return task.state == types::TaskState::Stopped;
    }

    ulk::types::string16_t TaskId() const {
        return ulk::text::Cast<ulk::types::string16_t>(std::string_view(std::to_string(m_taskId)));
    }

    const CommandContext& m_context;
    ITfsTaskManager& m_tasks;
    EventQueue& m_events;
    std::uint64_t m_taskId;
    ScanWatch m_watch;
    bool m_stopAsked = false;
    steady_clock::time_point m_stopDeadline;
};

/// Counters of the run: the service's, where it still has them, and never fewer findings than were told.
ScanSummary Summarise(ITfsTaskManager& tasks, std::uint64_t taskId, const ScanWatch& watch) {
    ScanSummary summary;
    summary.taskId = taskId;
    summary.threats = watch.Threats();
    summary.notProcessed = watch.NotProcessed();
    summary.end = watch.End();
    summary.reason = watch.Reason();
    std::vector<OxsStatistic> statistics;
    ThrowIfFailed(tasks.GetStatistics(statistics), "Cannot read the statistics of the scan");
    const auto found = std::find_if(statistics.begin(), statistics.end(),
                                    [&](const OxsStatistic& statistic) { return statistic.taskId == taskId; });
    if (found == statistics.end())
        throw Failure(ExitCode::Internal, "The service has no statistics of the scan.");
    summary.scannedObjects = found->scan.scannedObjects;
    summary.scannedBytes = found->scannedBytes;
    summary.skipped = found->scan.skippedObjects;
    summary.threats = std::max(summary.threats, found->scan.threatsFound);
    summary.notProcessed =
        std::max(summary.notProcessed, found->scan.scanErrors + found->scan.passwordProtectedObjects);
    return summary;
}

ExitCode CodeOf(const ScanSummary& summary) noexcept {
    if (summary.threats > 0)
        return ExitCode::ThreatFound;
    if (summary.end != ScanEnd::Completed)
        return ExitCode::Stopped;
    return summary.notProcessed > 0 ? ExitCode::NotProcessed : ExitCode::Ok;
}

} // namespace

ExitCode ScanFile(const CommandContext& context, const std::vector<std::string>& arguments) {
    ScanSettings settings;
    settings.areas = AbsolutePaths(arguments);

    const auto tasks = Service<ITfsTaskManager>(context);
    EventSubscription subscription(context, ScanWatch::Filter(), "Cannot follow the scan");
    core::TaskInfo task;
    ThrowIfFailed(tasks->CreateScanTask(settings, task), "Cannot create the scan");
    Scan scan(context, *tasks, subscription.Queue(), task.taskId);
    const std::string id = std::to_string(task.taskId);
    const result_t started = tasks->StartTask(ulk::text::Cast<ulk::types::string16_t>(std::string_view(id)));
    if (ULK_FAILED(started))
        tasks->DeleteTask(task.taskName); // a task that never ran doesn't go by itself
    ThrowIfFailed(started, "Cannot start the scan");
    scan.WaitForEnd();
    if (scan.Watch().HasFailedToStart())
        throw Failure(ExitCode::Internal,
                      "The service could not start the scan: " + EscapeForTerminal(scan.Watch().Reason()) + ".");

    const ScanSummary summary = Summarise(*tasks, task.taskId, scan.Watch());
    context.reporter.ScanEnded(summary);
    return CodeOf(summary);
}

} // namespace tfs::control
