// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/exit_codes.h>

namespace tfs::control {

std::string_view ExitCodeName(ExitCode code) noexcept {
    switch (code) {
    case ExitCode::Ok:
        return "ok";
    case ExitCode::ThreatFound:
        return "threat-found";
    case ExitCode::NotProcessed:
        return "not-processed";
    case ExitCode::Stopped:
        return "stopped";
    case ExitCode::BlockedByPolicy:
        return "blocked-by-policy";
    case ExitCode::TsnNotAccepted:
        return "tsn-not-accepted";
    case ExitCode::Usage:
        return "usage";
    case ExitCode::InvalidState:
        return "invalid-state";
    case ExitCode::NotFound:
        return "not-found";
    case ExitCode::Unavailable:
        return "unavailable";
    case ExitCode::OutputFailed:
        return "output-failed";
    case ExitCode::Timeout:
        return "timeout";
    case ExitCode::Denied:
        return "denied";
    case ExitCode::InvalidSettings:
        return "invalid-settings";
    case ExitCode::Internal:
        break;
    }
    return "internal";
}

std::string_view ExitCodeHelp() noexcept {
    return "Exit codes:\n"
           "   0  done; with --scan-file: everything was read and nothing found\n"
           "   1  a threat was found\n"
           "   2  no threat, but something could not be processed\n"
           "   3  the scan did not reach its end and had found nothing\n"
           "   4  a policy locks the setting\n"
           "   5  the statement of Tolvander Security Network is not accepted\n"
           "  64  wrong command line\n"
           "  65  the task's state does not allow the command\n"
           "  66  no such task, file or folder\n"
           "  69  the service cannot be reached, or went away\n"
           "  70  internal failure\n"
           "  74  the output could not be written\n"
           "  75  the service did not answer in time\n"
           "  77  this user may not do it\n"
           "  78  there is no such setting, or it does not take the value\n";
}

ExitCode ExitCodeOf(result_t result) noexcept {
    if (ULK_SUCCEEDED(result))
        return ExitCode::Ok;
    switch (result) {
    case ulk::eNotFound:
    case ulk::eFileNotFound:
        return ExitCode::NotFound;
    case ulk::eInvalidState:
    case ulk::eAlreadyDone:
    case ulk::eNotSupported:
        return ExitCode::InvalidState;
    case ulk::eAccessDenied:
        return ExitCode::Denied;
    case ulk::eNotReady:
    case ulk::eInvalidVersion:
        return ExitCode::Unavailable;
    case ulk::eTimeout:
        return ExitCode::Timeout;
    case ulk::eInvalidArgument:
        return ExitCode::Usage;
    default:
        return ExitCode::Internal;
    }
}

} // namespace tfs::control
