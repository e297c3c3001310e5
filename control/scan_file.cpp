// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/path_arguments.h>
#include <control/run_task.h>
#include <control/scan_file.h>

namespace tfs::control {

ExitCode ScanFile(const CommandContext& context, const std::vector<std::string>& arguments) {
    ScanSettings settings;
    settings.areas = AbsolutePaths(arguments);
    core::TaskInfo task;
    ThrowIfFailed(Service<ITfsTaskManager>(context)->CreateScanTask(settings, task), "Cannot create the scan");
    return RunScan(context, task, {.showProgress = true, .deleteUnlessStarted = true});
}

} // namespace tfs::control
