// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/settings.h>
#include <control/get_app_settings.h>
#include <control/show_settings.h>
#include <tfs_common/settings_tools.h>

namespace tfs::control {

ExitCode GetAppSettings(const CommandContext& context, const std::vector<std::string>& keys) {
    ulk::types::any_struct_t holder;
    ThrowIfFailed(Service<IAppSettingsHandler>(context)->GetAppSettings(holder), "Cannot read the settings");
    const std::vector<settings::ChangeItem> all = tools::ListSettings(context.local, holder);
    if (all.empty())
        throw Failure(ExitCode::Internal, "The service has settings that this program does not know.");
    ShowSettings(context, all, keys, {});
    return ExitCode::Ok;
}

} // namespace tfs::control
