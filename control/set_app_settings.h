// SPDX-License-Identifier: GPL-2.0-or-later
// Command --set-app-settings.
#pragma once

#include <contract/tfs/settings.h>
#include <control/command_context.h>

#include <string>
#include <vector>

namespace tfs::control {

/// Changes settings of the application: all of the list, or of the file where one is named, or none. Throws Failure.
ExitCode SetAppSettings(const CommandContext& context, const std::vector<settings::ChangeItem>& changes,
                        const std::string& file, bool acceptTsn);

} // namespace tfs::control
