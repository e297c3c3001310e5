// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/objclient.h>
#include <foundation/trace.h>
#include <service/settings/service_settings.h>
#include <service/settings/settings_json.h>

#include <new>
#include <stdexcept>

namespace tfs::service::settings {
namespace {

constexpr std::size_t MaxFileSize = 1024 * 1024;
constexpr std::size_t MaxPathLength = 4095;

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
    try {
        ServiceSettings settings = ParseSettings(text);
        if (const std::string problem = ValidateSettings(settings); !problem.empty())
            throw std::invalid_argument(problem);
        return {std::move(settings), SettingsOrigin::File, {}};
    } catch (const DamagedSettings&) {
        const std::string aside = SetFileAside(path);
        return Defaults(SettingsOrigin::Damaged,
                        "Settings are damaged: " + path +
                            (aside.empty() ? ", and can't be set aside" : ", set aside as " + aside));
    } catch (const std::invalid_argument& e) {
        return Defaults(SettingsOrigin::Invalid, "Settings are not used: " + path + ": " + e.what());
    }
}

result_t SaveSettings(const std::string& path, const ServiceSettings& settings, OldFile oldFile,
                      ulk::IServiceLocator* locator) noexcept {
    try {
        if (!ValidateSettings(settings).empty())
            return ulk::eInvalidArgument;
        FileReplacement replacement(path, oldFile);
        result_t result = replacement.Write(FormatSettings(settings, locator));
        if (ULK_SUCCEEDED(result))
            result = replacement.Commit();
        ulk::Ptr<ulk::ITracer> tracer;
        (void)ulk::GetInterface(locator, tracer.Ref());
        if (!ULK_SUCCEEDED(result)) {
            ULK_TRACE(tracer.Get(), ulk::level::Failure)
                << "Settings not changed: " << path << (oldFile == OldFile::SetAside ? ", not used before," : "")
                << " can't be replaced: " << ulk::ResultText(result);
            return result;
        }
        if (const result_t synced = replacement.Sync(); !ULK_SUCCEEDED(synced)) {
            ULK_TRACE(tracer.Get(), ulk::level::Failure)
                << "Settings changed, but a loss of power may undo it: " << path << ": " << ulk::ResultText(synced);
        }
        return ulk::sOk;
    } catch (const std::invalid_argument&) {
        return ulk::eInvalidArgument; // a path that is not UTF-8 has no place in JSON
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    }
}

} // namespace tfs::service::settings
