// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>
#include <service/settings/settings_json.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/validation_text.h>

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace tfs::service::settings {
namespace {

using Json = nlohmann::json;
using tfs::settings::AppSettings;
using ulk::types::any_struct_t;

constexpr char ApplicationKey[] = "application";
constexpr char StatementKey[] = "tsnStatement";
// What earlier versions wrote.
constexpr char OldTraceLevelKey[] = "traceLevel";
constexpr char OldReportsKey[] = "reportsForPrivilegedOnly";
constexpr char OldYes[] = "Yes";
constexpr char OldNo[] = "No";
constexpr std::int32_t OldDetailedLevel = 800;
constexpr std::int32_t OldGreatestLevel = 1000;
constexpr int DeepestNesting = 64;

[[noreturn]] void Refuse(const std::string& key, const char* why) {
    throw std::invalid_argument("value of " + key + " " + why);
}

Json ParseDocument(const std::string& text) {
    const auto testDepth = [](int depth, Json::parse_event_t, const Json&) {
        if (depth > DeepestNesting) // writing it again would go as deep on the stack
            throw DamagedSettings("nested too deeply");
        return true;
    };
    try {
        return Json::parse(text, testDepth);
    } catch (const Json::exception& e) {
        throw DamagedSettings(e.what());
    }
}

/// The value of a key, taken out of the document so that what is left at the end is what nobody knows.
Json Take(Json& root, const char* key) {
    const auto found = root.find(key);
    if (found == root.end())
        return Json(Json::value_t::discarded);
    Json value = std::move(*found);
    root.erase(found);
    return value;
}

template <class Number>
void ReadNumber(Json& root, const char* key, Number least, Number greatest, Number& value) {
    const Json taken = Take(root, key);
    if (taken.is_discarded())
        return;
    if (!taken.is_number_integer())
        Refuse(key, "is not a whole number");
    const bool tooLarge =
        taken.is_number_unsigned() && taken.get<std::uint64_t>() > static_cast<std::uint64_t>(greatest);
    const bool tooSmall = taken.is_number_unsigned() ? taken.get<std::uint64_t>() < static_cast<std::uint64_t>(least)
                                                     : taken.get<std::int64_t>() < static_cast<std::int64_t>(least);
    if (tooLarge || tooSmall)
        Refuse(key, "is out of range");
    value = taken.get<Number>();
}

void ReadFlag(Json& root, const char* key, bool& value) {
    const Json taken = Take(root, key);
    if (taken.is_discarded())
        return;
    if (!taken.is_boolean())
        Refuse(key, "is not true or false");
    value = taken.get<bool>();
}

void ReadPaths(Json& root, const char* key, std::vector<std::string>& value) {
    const Json taken = Take(root, key);
    if (taken.is_discarded())
        return;
    if (!taken.is_array())
        Refuse(key, "is not a list");
    std::vector<std::string> paths;
    for (const Json& item : taken) {
        if (!item.is_string())
            Refuse(key, "holds something that is not a text");
        paths.push_back(item.get<std::string>());
    }
    value = std::move(paths);
}

/// A setting's value in the form of a change list.
std::string TextOf(const std::string& key, const Json& value) {
    if (value.is_string()) {
        const auto text = value.get<std::string>();
        return text == OldYes ? "yes" : text == OldNo ? "no" : text;
    }
    if (value.is_boolean())
        return types::ToSettingText(value.get<bool>());
    if (!value.is_number_integer())
        Refuse(key, "is not a text, a number, true or false");
    return value.dump();
}

any_struct_t Holder(const AppSettings& settings) {
    any_struct_t holder;
    holder.Set(settings);
    return holder;
}

/// Moves what application settings have of `object` into a change list.
tfs::settings::SettingsChangeList TakeApplication(Json& object) {
    tfs::settings::SettingsChangeList changes;
    changes.typeNumber = AppSettings::TypeNumber;
    for (const auto& known : tools::ListSettings(nullptr, Holder({})))
        if (const Json value = Take(object, known.key.c_str()); !value.is_discarded())
            changes.items.push_back({known.key, TextOf(known.key, value)});
    return changes;
}

void ReadApplication(Json& root, AppSettings& settings) {
    Json object = Take(root, ApplicationKey);
    if (object.is_discarded())
        return;
    if (!object.is_object())
        Refuse(ApplicationKey, "is not an object");
    const tfs::settings::SettingsChangeList changes = TakeApplication(object);
    ulk::types::vector_t<tfs::settings::ValidationMessage> messages;
    any_struct_t updated;
    if (!ULK_SUCCEEDED(tools::UpdateSettings(nullptr, Holder(settings), changes, messages, updated))) {
        std::string text = localization::ValidationText(messages);
        std::replace(text.begin(), text.end(), '\n', ' ');
        throw std::invalid_argument(text.empty() ? "the application settings are not valid" : text);
    }
    settings = *updated.Get<AppSettings>();
    if (!object.empty())
        root[ApplicationKey] = std::move(object);
}

/// Read first, so that the application settings overrule them.
void ReadOldKeys(Json& root, AppSettings& settings) {
    ReadFlag(root, OldReportsKey, settings.uiReportsForRootOnly);
    std::int32_t level = -1;
    ReadNumber(root, OldTraceLevelKey, std::int32_t{0}, OldGreatestLevel, level);
    if (level >= 0)
        settings.traceLevel = level == 0                 ? types::TraceLevel::None
                              : level < OldDetailedLevel ? types::TraceLevel::NotDetailed
                                                         : types::TraceLevel::Detailed;
}

void ReadStatement(Json& root, std::optional<StatementAcceptance>& statement) {
    const Json object = Take(root, StatementKey);
    if (object.is_discarded())
        return;
    const auto text = [&](const char* key) {
        if (!object.is_object() || !object.contains(key) || !object[key].is_string())
            Refuse(StatementKey, "is not an acceptance");
        return object[key].get<std::string>();
    };
    statement = StatementAcceptance{text("accepted"), text("sha256")};
}

} // namespace

// Without a locator: how to trace is among what is read here.
ServiceSettings ParseSettings(const std::string& text) {
    Json root = ParseDocument(text);
    if (!root.is_object())
        throw std::invalid_argument("the settings are not an object");
    constexpr auto Greatest = std::numeric_limits<std::uint32_t>::max();
    ServiceSettings settings;
    ReadPaths(root, "scanScope", settings.scanScope);
    ReadPaths(root, "scanExclusions", settings.scanExclusions);
    ReadNumber(root, "scannerWorkers", std::uint32_t{0}, Greatest, settings.scannerWorkers);
    ReadNumber(root, "fileTimeLimitSeconds", std::uint32_t{0}, Greatest, settings.fileTimeLimitSeconds);
    ReadFlag(root, "allowUserManageLocalTasks", settings.allowUserManageLocalTasks);
    ReadFlag(root, "allowUserManageGroupTasks", settings.allowUserManageGroupTasks);
    ReadOldKeys(root, settings.application);
    ReadApplication(root, settings.application);
    ReadStatement(root, settings.statement);
    if (!root.empty())
        settings.unknown = root.dump();
    return settings;
}

std::string FormatSettings(const ServiceSettings& settings, ulk::IServiceLocator* locator) {
    Json root = settings.unknown.empty() ? Json::object() : Json::parse(settings.unknown);
    root["scanScope"] = settings.scanScope;
    root["scanExclusions"] = settings.scanExclusions;
    root["scannerWorkers"] = settings.scannerWorkers;
    root["fileTimeLimitSeconds"] = settings.fileTimeLimitSeconds;
    root["allowUserManageLocalTasks"] = settings.allowUserManageLocalTasks;
    root["allowUserManageGroupTasks"] = settings.allowUserManageGroupTasks;
    for (const auto& item : tools::ListSettings(locator, Holder(settings.application)))
        root[ApplicationKey][item.key] = item.value;
    if (settings.statement)
        root[StatementKey] = {{"accepted", settings.statement->date}, {"sha256", settings.statement->sha256}};
    try {
        return root.dump(2) + "\n";
    } catch (const Json::exception& e) {
        throw std::invalid_argument(e.what());
    }
}

} // namespace tfs::service::settings
