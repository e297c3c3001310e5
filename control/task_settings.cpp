// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/change_settings.h>
#include <control/show_settings.h>
#include <control/task_settings.h>
#include <control/task_text.h>
#include <remote_actions/settings_request.h>
#include <tfs_common/catalogue_entries.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/task_schedule.h>
#include <tfs_common/validation_text.h>

namespace tfs::control {
namespace {

namespace entry = localization::entry;
using settings::SettingsChangeList;

SettingsChangeList ReadSettings(ITfsTaskManager& tasks, const std::string& idOrName) {
    SettingsChangeList list;
    ThrowIfFailed(tasks.GetTaskSettings(TaskText(idOrName), list),
                  "Cannot read the settings of " + TaskQuoted(idOrName));
    return list;
}

using SetMethod = result_t (ITfsTaskManager::*)(const ulk::types::string16_t& idOrName, const SettingsChangeList&,
                                                bool toDefault, std::vector<settings::ValidationMessage>&);

CommandResult Send(const CommandContext& context, ITfsTaskManager& tasks, const std::string& idOrName,
                   const TaskChanges& changes, std::uint32_t typeNumber, SetMethod method) {
    SettingsChangeList list;
    list.items = changes.items;
    list.allowEmpty = changes.toDefault;
    list = remote_actions::MakeSettingsRequest(context.local, typeNumber, changes.file, std::move(list));
    std::vector<settings::ValidationMessage> messages;
    CommandResult result;
    result.code = (tasks.*method)(TaskText(idOrName), list, changes.toDefault, messages);
    result.message = localization::ValidationText(messages);
    remote_actions::ThrowIfRefused(result.code, result.message);
    return result;
}

} // namespace

ExitCode GetSettings(const CommandContext& context, const std::string& idOrName, const std::vector<std::string>& keys,
                     const std::string& file) {
    ShowSettings(context, ReadSettings(*Service<ITfsTaskManager>(context), idOrName).items, keys, file);
    return ExitCode::Ok;
}

ExitCode SetSettings(const CommandContext& context, const std::string& idOrName, const TaskChanges& changes) {
    const auto tasks = Service<ITfsTaskManager>(context);
    const std::uint32_t typeNumber = ReadSettings(*tasks, idOrName).typeNumber;
    return ChangeSettings(
        context, "Cannot change the settings of " + TaskQuoted(idOrName),
        [&] { return Send(context, *tasks, idOrName, changes, typeNumber, &ITfsTaskManager::SetTaskSettings); },
        {.invalidState = entry::CannotApplySettingsForNonStoppedTasks});
}

ExitCode GetSchedule(const CommandContext& context, const std::string& idOrName, const std::string& file) {
    TaskSchedule schedule;
    ThrowIfFailed(Service<ITfsTaskManager>(context)->GetSchedule(TaskText(idOrName), schedule),
                  "Cannot read the schedule of " + TaskQuoted(idOrName));
    ulk::types::any_struct_t holder;
    holder.Set(tools::SettingsOfSchedule(schedule));
    ShowSettings(context, tools::ListSettings(context.local, holder), {}, file);
    return ExitCode::Ok;
}

ExitCode SetSchedule(const CommandContext& context, const std::string& idOrName, const TaskChanges& changes) {
    const auto tasks = Service<ITfsTaskManager>(context);
    return ChangeSettings(context, "Cannot change the schedule of " + TaskQuoted(idOrName),
                          [&] {
                              return Send(context, *tasks, idOrName, changes, ScheduleSettings::TypeNumber,
                                          &ITfsTaskManager::SetSchedule);
                          },
                          {.notSupported = entry::ScheduleNotSupported});
}

} // namespace tfs::control
