// SPDX-License-Identifier: GPL-2.0-or-later
// How the program answers to signals.
#pragma once

#include <foundation/result.h>

#include <csignal>

namespace tfs::gui {

/// SIGINT and SIGTERM quit, SIGUSR1 shows the windows, SIGPIPE and SIGHUP are ignored. The first failure ends it.
/// eUnspecified, traced, where a signal has a handler already (which is replaced all the same) or can't be given one.
result_t InstallSignalHandlers();

/// One step of it.
result_t InstallSignalHandler(int signum, sighandler_t handler);

/// While it lives an abort ends the process with exit code 1 and no core dump.
class AbortExit {
public:
    AbortExit();
    ~AbortExit();
    AbortExit(const AbortExit&) = delete;
    AbortExit& operator=(const AbortExit&) = delete;

private:
    sighandler_t m_previous;
};

} // namespace tfs::gui
