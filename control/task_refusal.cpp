// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/task_refusal.h>
#include <tfs_common/catalogue_entries.h>
#include <tfs_common/translator.h>

namespace tfs::control {

void ThrowIfRefused(result_t result, const std::string& what, const TaskRefusals& refusals) {
    std::uint32_t text = 0;
    if (result == ulk::eInvalidState)
        text = refusals.invalidState;
    else if (result == ulk::eNotSupported)
        text = refusals.notSupported;
    if (text != 0)
        throw Failure(ExitCodeOf(result), what + ": " + localization::GetLocalizedString(text));
    ThrowIfFailed(result, what);
}

core::TaskInfo MakeScanTask(ITfsTaskManager& tasks, const ScanSettings& settings) {
    const std::string failure = "Cannot create the scan";
    core::TaskInfo task;
    const result_t created = tasks.CreateScanTask(settings, task);
    if (created == ulk::eInsufficientResources)
        throw Failure(ExitCode::InvalidState, failure + ": " +
                                                  localization::GetLocalizedString(
                                                      localization::entry::CannotExecuteCommandDueToTasksLimitReached));
    ThrowIfFailed(created, failure);
    return task;
}

} // namespace tfs::control
