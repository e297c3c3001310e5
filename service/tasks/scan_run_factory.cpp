// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/scan_run_factory.h>
#include <service/tasks/scan_task_run.h>
#include <service/tasks/threat_treatment.h>

#include <utility>

namespace tfs::service::tasks {
namespace {

ScanKind KindOf(std::u16string_view taskType) noexcept {
    if (taskType == task_type::MemoryScan)
        return ScanKind::Memory;
    return taskType == task_type::BootScan ? ScanKind::BootRecords : ScanKind::Files;
}

} // namespace

std::shared_ptr<ITaskRun> ScanRunFactory::MakeRun(RunOrder order, IRunHost& host) {
    const auto* settings = order.settings.Get<ScanSettings>();
    ScanTaskRun::Description description;
    description.kind = KindOf(order.task.taskType);
    // A boot record is no file that could be kept.
    description.takesThreats = description.kind != ScanKind::BootRecords && TakesThreats(settings->actionOnThreat);
    description.keeper = m_keeper;
    scan::ScanOptions& options = description.options;
    options.areas = settings->areas;
    options.excludedPaths = m_exclusions;
    options.excludedPaths.insert(options.excludedPaths.end(), settings->excludedPaths.begin(),
                                 settings->excludedPaths.end());
    options.excludedMasks = settings->excludeMasks;
    options.scanArchives = settings->scanArchives;
    options.maxFileSize = settings->maxFileSize;
    options.fileTimeLimitMs = settings->fileTimeLimitSeconds * 1000;
    options.lowImpact = !settings->fullSpeed;
    options.goOnBehind = order.checkpoint;
    options.rightsOf = order.rightsOf;
    if (order.isTemporary) // a folder that was named is scanned with whatever is mounted below it
        options.crossFileSystems = settings->crossFileSystems;
    else
        description.withLocalMounts = description.kind == ScanKind::Files && settings->crossFileSystems;
    return std::make_shared<ScanTaskRun>(std::move(order), std::move(description), m_engine, host, m_names);
}

} // namespace tfs::service::tasks
