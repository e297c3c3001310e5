// SPDX-License-Identifier: GPL-2.0-or-later
// A program of the build: writes the table of commands, their English help and the words that their arguments may be,
// as one JSON document on standard output. The completion of the shells and the manual page are made from it.
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>
#include <control/commands.h>
#include <tfs_common/settings_tools.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <nlohmann/json.hpp>

namespace {

using namespace tfs;
using control::ValueKind;
using nlohmann::json;

const char* NameOf(ValueKind kind) noexcept {
    switch (kind) {
    case ValueKind::None:
        break;
    case ValueKind::Task:
        return "task";
    case ValueKind::Path:
        return "path";
    case ValueKind::AppKey:
        return "app-key";
    case ValueKind::TaskKey:
        return "task-key";
    case ValueKind::AppChange:
        return "app-change";
    case ValueKind::TaskChange:
        return "task-change";
    case ValueKind::ScheduleChange:
        return "schedule-change";
    case ValueKind::EventTypes:
        return "event-types";
    case ValueKind::TaskType:
        return "task-type";
    case ValueKind::Time:
        return "time";
    case ValueKind::Number:
        return "number";
    case ValueKind::Order:
        return "order";
    }
    return "";
}

void AddKeys(json& words, const ulk::types::any_struct_t& structure, const char* behind) {
    for (const settings::ChangeItem& item : tools::ListSettings(nullptr, structure))
        if (const std::string word = item.key + behind; std::find(words.begin(), words.end(), word) == words.end())
            words.push_back(word);
}

/// Structures have keys in common.
template <class... Structures>
json KeysOf(const char* behind = "") {
    json words = json::array();
    const auto add = [&](auto&& structure) {
        ulk::types::any_struct_t holder;
        holder.Set(structure);
        AddKeys(words, holder, behind);
    };
    (add(Structures()), ...);
    return words;
}

json EventNames() {
    json words = json::array();
    for (const auto& row : types::EventName::Table().Rows())
        words.push_back(row.name);
    return words;
}

/// Of the tasks that the service has.
json TaskTypes() {
    json words = json::array();
    for (const std::u16string_view type : {std::u16string_view(task_type::BootScan),
                                           {task_type::MemoryScan},
                                           {task_type::OAS},
                                           {task_type::ODS},
                                           {task_type::Rollback},
                                           {task_type::Update}})
        words.push_back(ulk::text::ToUtf8Lossy(type));
    return words;
}

json Words() {
    return {
        {"app-key", KeysOf<settings::AppSettings>()},
        {"task-key", KeysOf<ScanSettings, UpdateSettings, FileMonitoringSettings>()},
        {"app-change", KeysOf<settings::AppSettings>("=")},
        {"task-change", KeysOf<ScanSettings, UpdateSettings, FileMonitoringSettings>("=")},
        {"schedule-change", KeysOf<ScheduleSettings>("=")},
        {"event-types", EventNames()},
        {"task-type", TaskTypes()},
        {"order", {"asc", "desc"}},
    };
}

json OptionJson(const control::Option& option) { return {{"name", option.name}, {"value", NameOf(option.value)}}; }

json CommandJson(const control::Command& command) {
    json options = json::array();
    for (const control::Option& option : control::Options()) {
        if (command.Takes(option.name))
            options.push_back(OptionJson(option));
    }
    return {
        {"option", command.option},
        {"value", NameOf(command.value)},
        {"operands", NameOf(command.operands)},
        {"options", std::move(options)},
        {"help", control::HelpText(command.kind)},
    };
}

json Document() {
    json commands = json::array();
    for (const control::Command& command : control::Commands())
        commands.push_back(CommandJson(command));
    return {{"version", TESL_VERSION},
            {"overview", control::HelpText(control::CommandKind::Help)},
            {"commands", std::move(commands)},
            {"words", Words()}};
}

} // namespace

int main() {
    try {
        std::cout << Document().dump(2) << '\n' << std::flush;
        return std::cout.good() ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
