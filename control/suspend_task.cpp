// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/suspend_task.h>
#include <control/task_command.h>
#include <tfs_common/catalogue_entries.h>

namespace tfs::control {

ExitCode SuspendTask(const CommandContext& context, const std::string& idOrName) {
    return CommandTask(context, idOrName, "suspend", &ITfsTaskManager::PauseTask,
                       {.invalidState = localization::entry::CannotSuspendNonRunningTask,
                        .notSupported = localization::entry::CannotSuspendNotSupported});
}

} // namespace tfs::control
