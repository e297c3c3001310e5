// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/path_arguments.h>
#include <control/run_task.h>
#include <control/scan_file.h>
#include <control/task_refusal.h>

namespace tfs::control {

ExitCode ScanFile(const CommandContext& context, const std::vector<std::string>& arguments) {
    ScanSettings settings;
    settings.areas = AbsolutePaths(arguments);
    const core::TaskInfo task = MakeScanTask(*Service<ITfsTaskManager>(context), settings);
    return RunScan(context, task, {.showProgress = true, .deleteUnlessStarted = true});
}

} // namespace tfs::control
