// SPDX-License-Identifier: GPL-2.0-or-later
// The application settings as pages need them. Each call asks the service anew and blocks. All throw
// ulk::CheckResultFailedException with the texts named below, "Cannot get interface from the service" where the service
// doesn't have the interface, and ulk::RuntimeError without a connection.
#pragma once

#include <contract/tfs/value_tables.h>

namespace tfs::gui::app_settings {

/// Sets participation in the security network. A mode other than Off counts as the user's acceptance of the network's
/// statement: the page asks for it only after the user has accepted. "Cannot change TSN state" where the call fails.
void ChangeTSNState(types::TsnUsage::Type mode);
/// "Cannot read application settings" where the call fails.
types::TsnUsage::Type GetTSNState();
/// True unless the settings keep reports for privileged users and the effective user isn't root. Throws as GetTSNState.
bool IsReportsAllowedForCurrentUser();

} // namespace tfs::gui::app_settings
