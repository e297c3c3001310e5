// SPDX-License-Identifier: GPL-2.0-or-later
// The events that tell of settings and policy.
#pragma once

#include <contract/tfs/event.h>
#include <service/settings/settings_store.h>

#include <optional>
#include <string>

namespace tfs::service::app {

/// Settings as KEY=VALUE, a comma between two; the user is who asked for it.
Event MakeSettingsChanged(const settings::SettingsChange& change, const std::optional<EventUser>& user);
/// Participation in the security network is now another.
Event MakeTsnStateChanged(const settings::SettingsChange& change, const std::optional<EventUser>& user);
Event MakePolicyNotApplied(const settings::PolicyProblem& problem);
/// The settings file couldn't be used and the defaults are in force.
Event MakeSettingsNotUsed(const std::string& path, const std::string& problem);

} // namespace tfs::service::app
