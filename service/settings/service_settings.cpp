// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/settings/file_io.h>
#include <service/settings/service_settings.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <type_traits>

namespace tfs::service::settings {
namespace {

using Json = nlohmann::json;

constexpr std::size_t MaxFileSize = 1024 * 1024;
constexpr std::size_t MaxPathLength = 4095;

[[noreturn]] void Refuse(const char* key, const char* why) {
    throw std::invalid_argument(std::string("value of ") + key + " " + why);
}

template <class Number>
void ReadNumber(const Json& root, const char* key, Number& value) {
    const auto found = root.find(key);
    if (found == root.end())
        return;
    if (!found->is_number_integer())
        Refuse(key, "is not a whole number");
    const bool tooLarge = found->is_number_unsigned() &&
                          found->get<std::uint64_t>() > static_cast<std::uint64_t>(std::numeric_limits<Number>::max());
    const bool tooSmall =
        !found->is_number_unsigned() && found->get<std::int64_t>() < std::numeric_limits<Number>::min();
    if (tooLarge || tooSmall)
        Refuse(key, "is out of range");
    value = found->get<Number>();
}

void ReadFlag(const Json& root, const char* key, bool& value) {
    const auto found = root.find(key);
    if (found == root.end())
        return;
    if (!found->is_boolean())
        Refuse(key, "is not true or false");
    value = found->get<bool>();
}

void ReadPaths(const Json& root, const char* key, std::vector<std::string>& value) {
    const auto found = root.find(key);
    if (found == root.end())
        return;
    if (!found->is_array())
        Refuse(key, "is not a list");
    std::vector<std::string> paths;
    for (const Json& item : *found) {
        if (!item.is_string())
            Refuse(key, "holds something that is not a text");
        paths.push_back(item.get<std::string>());
    }
    value = std::move(paths);
}

ServiceSettings FromJson(const Json& root) {
    if (!root.is_object())
        throw std::invalid_argument("the settings are not an object");
    ServiceSettings settings;
    ReadPaths(root, "scanScope", settings.scanScope);
    ReadPaths(root, "scanExclusions", settings.scanExclusions);
    ReadNumber(root, "scannerWorkers", settings.scannerWorkers);
    ReadNumber(root, "fileTimeLimitSeconds", settings.fileTimeLimitSeconds);
    ReadFlag(root, "reportsForPrivilegedOnly", settings.reportsForPrivilegedOnly);
    ReadFlag(root, "allowUserManageLocalTasks", settings.allowUserManageLocalTasks);
    ReadFlag(root, "allowUserManageGroupTasks", settings.allowUserManageGroupTasks);
    ReadNumber(root, "traceLevel", settings.traceLevel);
    return settings;
}

Json ToJson(const ServiceSettings& settings) {
    return Json{{"scanScope", settings.scanScope},
                {"scanExclusions", settings.scanExclusions},
                {"scannerWorkers", settings.scannerWorkers},
                {"fileTimeLimitSeconds", settings.fileTimeLimitSeconds},
                {"reportsForPrivilegedOnly", settings.reportsForPrivilegedOnly},
                {"allowUserManageLocalTasks", settings.allowUserManageLocalTasks},
                {"allowUserManageGroupTasks", settings.allowUserManageGroupTasks},
                {"traceLevel", settings.traceLevel}};
}

std::string ValidatePaths(const char* key, const std::vector<std::string>& paths) {
    if (paths.size() > MaxPathsInList)
        return std::string(key) + " holds too many paths";
    for (const std::string& path : paths) {
        if (path.empty() || path.front() != '/')
            return std::string(key) + " holds a path that is not absolute";
        if (path.size() > MaxPathLength || path.find('\0') != std::string::npos)
            return std::string(key) + " holds a path that no file can have";
    }
    return {};
}

LoadedSettings Defaults(SettingsOrigin origin, std::string problem) {
    LoadedSettings loaded;
    loaded.origin = origin;
    loaded.problem = std::move(problem);
    return loaded;
}

} // namespace

std::string ValidateSettings(const ServiceSettings& settings) {
    if (settings.scanScope.empty())
        return "scanScope is empty";
    if (std::string problem = ValidatePaths("scanScope", settings.scanScope); !problem.empty())
        return problem;
    if (std::string problem = ValidatePaths("scanExclusions", settings.scanExclusions); !problem.empty())
        return problem;
    if (settings.scannerWorkers > MaxScannerWorkers)
        return "scannerWorkers is out of range";
    if (settings.fileTimeLimitSeconds == 0 || settings.fileTimeLimitSeconds > MaxFileTimeLimitSeconds)
        return "fileTimeLimitSeconds is out of range";
    if (settings.traceLevel < 0 || settings.traceLevel > MaxTraceLevel)
        return "traceLevel is out of range";
    return {};
}

LoadedSettings LoadSettings(const std::string& path) {
    std::string text;
    const result_t result = ReadWholeFile(path, MaxFileSize, text);
    if (result == ulk::eFileNotFound)
        return Defaults(SettingsOrigin::Missing, {});
    if (!ULK_SUCCEEDED(result))
        return Defaults(SettingsOrigin::Unreadable,
                        "Settings can't be read: " + path + ": " + std::string(ulk::ResultText(result)));
    const Json root = Json::parse(text, nullptr, false);
    if (root.is_discarded()) {
        const std::string aside = SetFileAside(path);
        return Defaults(SettingsOrigin::Damaged,
                        "Settings are damaged: " + path +
                            (aside.empty() ? ", and can't be set aside" : ", set aside as " + aside));
    }
    try {
        ServiceSettings settings = FromJson(root);
        if (const std::string problem = ValidateSettings(settings); !problem.empty())
            throw std::invalid_argument(problem);
        return {std::move(settings), SettingsOrigin::File, {}};
    } catch (const std::invalid_argument& e) {
        return Defaults(SettingsOrigin::Invalid, "Settings are not used: " + path + ": " + e.what());
    }
}

result_t SaveSettings(const std::string& path, const ServiceSettings& settings) noexcept {
    try {
        if (!ValidateSettings(settings).empty())
            return ulk::eInvalidArgument;
        return WriteFileAtomically(path, ToJson(settings).dump(2) + "\n");
    } catch (const Json::exception&) {
        return ulk::eInvalidArgument; // a path that is not UTF-8 has no place in JSON
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

} // namespace tfs::service::settings
