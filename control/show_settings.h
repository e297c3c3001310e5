// SPDX-License-Identifier: GPL-2.0-or-later
// What the commands that show settings have in common.
#pragma once

#include <contract/tfs/settings.h>
#include <control/command_context.h>

#include <string>
#include <vector>

namespace tfs::control {

/// Reports all the settings, or those with the keys in their order; with a `file` that isn't empty they are written
/// there, in the form in which settings are read from files. Throws Failure: ExitCode::InvalidSettings for a key that
/// doesn't exist or a value that such a file can't hold, OutputFailed for a file that can't be written.
void ShowSettings(const CommandContext& context, const std::vector<settings::ChangeItem>& all,
                  const std::vector<std::string>& keys, const std::string& file);

} // namespace tfs::control
