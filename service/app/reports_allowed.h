// SPDX-License-Identifier: GPL-2.0-or-later
// Who may read reports.
#pragma once

#include <service/rpc/service_api.h>
#include <service/settings/settings_store.h>

namespace tfs::service::app {

/// From memory, any thread.
inline bool ReportsAllowed(const settings::SettingsStore& settings, const rpc::Caller& caller) noexcept {
    return caller.uid == 0 || !settings.Current()->application.uiReportsForRootOnly;
}

} // namespace tfs::service::app
