// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/create_task.h>
#include <control/escape.h>
#include <control/path_arguments.h>
#include <control/task_refusal.h>
#include <remote_actions/exceptions.h>
#include <remote_actions/settings_request.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/translator.h>
#include <tfs_common/validation_text.h>

#include <algorithm>

namespace tfs::control {
namespace {

namespace entry = localization::entry;

constexpr char AreasKey[] = "ScanAreas";

std::string OneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return EscapeForTerminal(text);
}

/// The default settings of a scan with the changes of the file.
ScanSettings SettingsIn(const CommandContext& context, const std::string& file) {
    ulk::types::any_struct_t settings;
    settings.Set(ScanSettings());
    if (file.empty())
        return *settings.Get<ScanSettings>();
    try {
        const settings::SettingsChangeList changes =
            remote_actions::MakeSettingsRequest(context.local, ScanSettings::TypeNumber, file, {});
        for (const settings::ChangeItem& item : changes.items) {
            if (item.key.starts_with(AreasKey) && !item.value.empty())
                throw Failure(ExitCode::InvalidSettings,
                              localization::Format(localization::GetLocalizedString(entry::CannotBeUsedTogether2),
                                                   "PATH", AreasKey));
        }
        std::vector<settings::ValidationMessage> messages;
        ulk::types::any_struct_t updated;
        const result_t result = tools::UpdateSettings(context.local, settings, changes, messages, updated);
        if (!messages.empty())
            throw Failure(ExitCode::InvalidSettings, OneLine(localization::ValidationText(messages)));
        ThrowIfFailed(result, localization::GetLocalizedString(entry::CannotSetSettings));
        return *updated.Get<ScanSettings>();
    } catch (const remote_actions::InvalidSettingsException& e) {
        throw Failure(ExitCode::InvalidSettings, OneLine(e.Text()));
    }
}

} // namespace

ExitCode CreateTask(const CommandContext& context, const std::vector<std::string>& paths, const std::string& file) {
    ScanSettings settings = SettingsIn(context, file);
    settings.areas = AbsolutePaths(paths);
    context.reporter.TaskCreated(MakeScanTask(*Service<ITfsTaskManager>(context), settings));
    return ExitCode::Ok;
}

} // namespace tfs::control
