// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/settings.h>
#include <control/escape.h>
#include <control/get_app_settings.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/translator.h>

#include <algorithm>

namespace tfs::control {
namespace {

using settings::ChangeItem;

const ChangeItem& Find(const std::vector<ChangeItem>& items, const std::string& key) {
    const auto found =
        std::find_if(items.begin(), items.end(), [&key](const ChangeItem& item) { return item.key == key; });
    if (found == items.end())
        throw Failure(ExitCode::InvalidSettings,
                      localization::Format(localization::GetLocalizedString(localization::entry::UnknownSettings1),
                                           EscapeForTerminal(key)));
    return *found;
}

} // namespace

ExitCode GetAppSettings(const CommandContext& context, const std::vector<std::string>& keys) {
    ulk::types::any_struct_t holder;
    ThrowIfFailed(Service<IAppSettingsHandler>(context)->GetAppSettings(holder), "Cannot read the settings");
    const std::vector<ChangeItem> all = tools::ListSettings(context.local, holder);
    if (all.empty())
        throw Failure(ExitCode::Internal, "The service has settings that this program does not know.");
    std::vector<ChangeItem> wanted;
    for (const std::string& key : keys)
        wanted.push_back(Find(all, key));
    context.reporter.AppSettingsTold(keys.empty() ? all : wanted);
    return ExitCode::Ok;
}

} // namespace tfs::control
