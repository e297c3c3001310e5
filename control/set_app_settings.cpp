// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/change_settings.h>
#include <control/set_app_settings.h>
#include <remote_actions/set_app_settings.h>

namespace tfs::control {

ExitCode SetAppSettings(const CommandContext& context, const std::vector<settings::ChangeItem>& changes,
                        const std::string& file, bool acceptTsn) {
    return ChangeSettings(context, "Cannot change the settings", [&] {
        settings::SettingsChangeList list;
        list.items = changes;
        return remote_actions::MakeSetAppSettings(context.local, file, acceptTsn, std::move(list))
            ->Exec(context.remote);
    });
}

} // namespace tfs::control
