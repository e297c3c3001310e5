// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/resume_task.h>
#include <control/task_command.h>
#include <tfs_common/catalogue_entries.h>

namespace tfs::control {

ExitCode ResumeTask(const CommandContext& context, const std::string& idOrName) {
    return CommandTask(context, idOrName, "resume", &ITfsTaskManager::ResumeTask,
                       {.invalidState = localization::entry::CannotResumeNonSuspendedTask,
                        .notSupported = localization::entry::CannotResumeNotSupported});
}

} // namespace tfs::control
