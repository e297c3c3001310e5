// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/event_subscription.h>
#include <control/run_task.h>
#include <control/scan_watch.h>
#include <control/task_command.h>
#include <control/task_text.h>
#include <control/task_wait.h>
#include <control/update_watch.h>
#include <control/values.h>

#include <algorithm>

namespace tfs::control {
namespace {

void Start(ITfsTaskManager& tasks, const core::TaskInfo& task, const RunOptions& options) {
    const std::string id = std::to_string(task.taskId);
    const result_t started = tasks.StartTask(ulk::text::Cast<ulk::types::string16_t>(std::string_view(id)));
    if (ULK_FAILED(started) && options.deleteUnlessStarted)
        tasks.DeleteTask(task.taskName); // a task that never ran doesn't go by itself
    if (started == ulk::eInvalidState && task.taskType == task_type::Rollback &&
        task.state == types::TaskState::Stopped)
        throw Failure(ExitCode::InvalidState, "There are no databases to go back to.");
    ThrowIfRefused(started, "Cannot start " + TaskQuoted(Utf8(task.taskName)), RefusalsOfStart(task.state));
}

/// Counters of the run: the service's, where it still has them, and never fewer findings than were told.
ScanSummary Summarise(ITfsTaskManager& tasks, const ScanWatch& watch) {
    ScanSummary summary;
    summary.taskId = watch.TaskId();
    summary.threats = watch.Threats();
    summary.notProcessed = watch.NotProcessed();
    summary.end = watch.End();
    summary.reason = watch.Reason();
    std::vector<OxsStatistic> statistics;
    ThrowIfFailed(tasks.GetStatistics(statistics), "Cannot read the statistics of the scan");
    const auto found = std::find_if(statistics.begin(), statistics.end(),
                                    [&](const OxsStatistic& statistic) { return statistic.taskId == watch.TaskId(); });
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
    if (summary.end != RunEnd::Completed)
        return ExitCode::Stopped;
    return summary.notProcessed > 0 ? ExitCode::NotProcessed : ExitCode::Ok;
}

ExitCode CodeOf(UpdateResult result) noexcept {
    if (result == UpdateResult::Failed)
        return ExitCode::UpdateFailed;
    return result == UpdateResult::Stopped ? ExitCode::Stopped : ExitCode::Ok;
}

/// The databases as they are now; a service that can't tell is no failure of the update.
void AddBases(const CommandContext& context, UpdateSummary& summary) {
    ulk::Ptr<IAppInfoProvider> provider;
    AppInfo appInfo;
    if (ULK_FAILED(ulk::GetInterface(context.remote, provider.Ref())) || ULK_FAILED(provider->GetAppInfo(appInfo)))
        return;
    summary.records = appInfo.avRecordsCount;
    summary.date = UtcFromTicks(appInfo.avBasesDate);
}

} // namespace

ExitCode RunScan(const CommandContext& context, const core::TaskInfo& task, const RunOptions& options) {
    const auto tasks = Service<ITfsTaskManager>(context);
    EventSubscription subscription(context, ScanWatch::Filter(), "Cannot follow the scan");
    ScanWatch watch(task.taskId, context.reporter);
    Start(*tasks, task, options);
    TaskWait(context, *tasks, subscription.Queue(), watch, task.taskName).UntilEnd(options.showProgress);

    const ScanSummary summary = Summarise(*tasks, watch);
    context.reporter.ScanEnded(summary);
    return CodeOf(summary);
}

ExitCode RunUpdate(const CommandContext& context, const core::TaskInfo& task, const RunOptions& options) {
    const auto tasks = Service<ITfsTaskManager>(context);
    EventSubscription subscription(context, UpdateWatch::Filter(), "Cannot follow the update");
    UpdateWatch watch(task.taskId, context.reporter);
    Start(*tasks, task, options);
    TaskWait(context, *tasks, subscription.Queue(), watch, task.taskName).UntilEnd(options.showProgress);

    UpdateSummary summary;
    summary.taskId = task.taskId;
    summary.result = watch.Result(task.taskType == task_type::Rollback);
    if (summary.result == UpdateResult::Failed)
        summary.reason = watch.Failure();
    AddBases(context, summary);
    context.reporter.UpdateEnded(summary);
    return CodeOf(summary.result);
}

ExitCode RunTask(const CommandContext& context, const std::string& idOrName, bool showProgress) {
    core::TaskInfo task;
    ThrowIfFailed(Service<ITfsTaskManager>(context)->GetTaskInfo(TaskText(idOrName), task),
                  "Cannot start " + TaskQuoted(idOrName));
    const bool changesBases = task.taskType == task_type::Update || task.taskType == task_type::Rollback;
    const RunOptions options{.showProgress = showProgress};
    return changesBases ? RunUpdate(context, task, options) : RunScan(context, task, options);
}

} // namespace tfs::control
