// SPDX-License-Identifier: GPL-2.0-or-later
// What the service says about itself, as people and as programs read it.
#pragma once

#include <contract/tfs/app_info.h>
#include <tfs_common/overview/overview.h>

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tfs::control {

/// In the user's language, safe on a terminal: the words of the window, then what only a support engineer asks for.
std::string AppInfoText(const AppInfo& appInfo, const overview::Overview& overview);

/// Values for programs; they don't depend on the user's language.
nlohmann::json AppInfoJson(const AppInfo& appInfo);
/// The words of the window with what they stand for.
nlohmann::json OverviewJson(const overview::Overview& overview);

} // namespace tfs::control
