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
    case ExitCode::UpdateFailed:
        return "update-failed";
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
