// SPDX-License-Identifier: GPL-2.0-or-later
// What tesl-control tells the shell. The numbers from 64 on are those of sysexits.h. What they mean is told by the help
// among the texts.
#pragma once

#include <foundation/result.h>

#include <string_view>

namespace tfs::control {

enum class ExitCode : int {
    Ok = 0,
    ThreatFound = 1,
    NotProcessed = 2,
    Stopped = 3,
    BlockedByPolicy = 4,
    TsnNotAccepted = 5,
    UpdateFailed = 6,
    Usage = 64,
    InvalidState = 65,
    NotFound = 66,
    Unavailable = 69,
    Internal = 70,
    OutputFailed = 74,
    Timeout = 75,
    Denied = 77,
    InvalidSettings = 78,
};

/// Word of a code as it stands in JSON errors, for example "unavailable".
std::string_view ExitCodeName(ExitCode code) noexcept;
/// The code under which a failing call ends the program.
ExitCode ExitCodeOf(result_t result) noexcept;

} // namespace tfs::control
