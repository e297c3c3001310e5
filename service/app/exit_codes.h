// SPDX-License-Identifier: GPL-2.0-or-later
// What tesl-service tells by its exit code.
#pragma once

namespace tfs::service::app {

enum ExitCode : int {
    ExitOk = 0,             ///< stopped by a signal
    ExitFailure = 1,        ///< couldn't start or go on; the reason is on standard error
    ExitUsage = 2,          ///< unknown option
    ExitAlreadyRunning = 3, ///< another service holds the lock
};

} // namespace tfs::service::app
