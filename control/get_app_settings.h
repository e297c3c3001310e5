// SPDX-License-Identifier: GPL-2.0-or-later
// Command --get-app-settings.
#pragma once

#include <control/command_context.h>

#include <string>
#include <vector>

namespace tfs::control {

/// Reports the settings of the application, or those with the keys in their order. Throws Failure, with
/// ExitCode::InvalidSettings for a key that doesn't exist.
ExitCode GetAppSettings(const CommandContext& context, const std::vector<std::string>& keys);

} // namespace tfs::control
