// SPDX-License-Identifier: GPL-2.0-or-later
// Command --app-info.
#pragma once

#include <control/command_context.h>

namespace tfs::control {

/// Reports what the service says about itself. Throws Failure.
ExitCode TellAppInfo(const CommandContext& context);

} // namespace tfs::control
