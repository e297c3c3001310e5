// SPDX-License-Identifier: GPL-2.0-or-later
// Why the service refused a command for a task, in the words of the texts.
#pragma once

#include <contract/tfs/tasks.h>
#include <control/failure.h>

#include <cstdint>
#include <string>

namespace tfs::control {

/// Numbers of texts; 0 for a refusal that the command doesn't meet.
struct TaskRefusals {
    std::uint32_t invalidState = 0;
    std::uint32_t notSupported = 0;
};

/// Throws a Failure for a failing code: `what`, ": " and the text of the refusal, or the code's own where there is
/// none.
void ThrowIfRefused(result_t result, const std::string& what, const TaskRefusals& refusals);

/// Makes a custom scan; throws a Failure, with ExitCode::InvalidState where the user has too many of them.
core::TaskInfo MakeScanTask(ITfsTaskManager& tasks, const ScanSettings& settings);

} // namespace tfs::control
