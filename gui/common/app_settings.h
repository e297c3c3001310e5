// SPDX-License-Identifier: GPL-2.0-or-later
// What the application settings say about the current user. Each call asks the service anew and blocks.
#pragma once

namespace tfs::gui::app_settings {

/// True unless the settings keep reports for privileged users and the effective user isn't root. Throws
/// ulk::CheckResultFailedException ("Cannot get interface from the service", "Cannot read application settings") or
/// ulk::RuntimeError without a connection.
bool IsReportsAllowedForCurrentUser();

} // namespace tfs::gui::app_settings
