// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/trace.h>
#include <gui/start_settings.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace tfs::gui {
namespace {

constexpr std::uint32_t CrashDumpLimit = 10;
constexpr unsigned TrayOnlyDelaySeconds = 10;
constexpr std::int64_t FileSizeUnit = 1'000'000;

ulk::types::string16_t Text(std::string_view text) { return ulk::text::Cast<ulk::types::string16_t>(text); }

bool IsSet(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

/// Every missing component of a path, with the mode that the umask leaves of 0777. Failures show when it is used.
void MakeFolders(const std::string& path) {
    for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1))
        (void)::mkdir(path.substr(0, end).c_str(), 0777);
    (void)::mkdir(path.c_str(), 0777);
}

} // namespace

std::string ModulePath(std::string_view name) { return ulk::ModulePath(Text(tfs::paths::LibraryFolder), name); }

result_t ApplyLocale(const std::string& locale) {
    std::optional<std::string> saved;
    if (const char* const value = std::getenv("LC_ALL"))
        saved = value;
    if (::setenv("LC_ALL", locale.c_str(), 1) != 0)
        return ulk::eUnspecified;
    if (std::setlocale(LC_ALL, locale.c_str()) != nullptr)
        return ulk::sOk;
    if (saved)
        (void)::setenv("LC_ALL", saved->c_str(), 1);
    return ulk::eUnspecified;
}

void ChooseDisplay() {
    if (!IsSet("DISPLAY") && IsSet("WAYLAND_DISPLAY"))
        (void)::setenv("QT_QPA_PLATFORM", "wayland", 0);
}

std::int32_t ChooseTraceLevel(bool allComponentsLogging, std::int32_t configuredLevel) noexcept {
    if (allComponentsLogging)
        return ulk::level::Finest;
    switch (configuredLevel) {
    case 1:
        return ulk::level::Failure;
    case 2:
        return ulk::level::Detail;
    default:
        return 0;
    }
}

app_core::loader::TracerSettings MakeTracerSettings(const tfs::loader::ConfigData& config, std::string_view programName,
                                                    bool allComponentsLogging) {
    app_core::loader::TracerSettings settings;
    settings.level = ChooseTraceLevel(allComponentsLogging, config.traceLevel);
    settings.enabled = settings.level != 0;
    settings.fileStem = Text(std::string(programName) + "." + std::to_string(::getpid()) + ".");
    settings.folder = config.logFolder;
    settings.fileSizeLimit = static_cast<std::uint64_t>(config.traceFileSizeLimit * FileSizeUnit);
    settings.fileCount = static_cast<std::uint32_t>(config.traceFileCount);
    settings.lineFormat = u"%Y.%m.%d %X\t%I\t%p\t";
    settings.modulePath = Text(ModulePath("instrumental_services"));
    return settings;
}

app_core::loader::CrashDumpSettings MakeCrashDumpSettings(uid_t uid, const std::string& userFolder) {
    app_core::loader::CrashDumpSettings settings;
    std::string folder = tfs::paths::DumpFolder;
    if (uid != 0) {
        folder = userFolder + std::to_string(uid);
        MakeFolders(folder);
    }
    settings.folder = Text(folder);
    settings.namePattern = u"tesl_%d_%p.dmp";
    settings.limit = CrashDumpLimit;
    return settings;
}

bool ReadTrayOnly(int argc, const char* const* argv, const std::function<void(unsigned seconds)>& sleep) {
    bool isTrayOnly = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--tray-only") != 0)
            continue;
        isTrayOnly = true;
        sleep(TrayOnlyDelaySeconds);
    }
    return isTrayOnly;
}

result_t CreateApplicationLoader(ulk::Module& module, app_core::loader::IApplicationLoader** loader) {
    *loader = nullptr;
    if (const result_t result = module.Load(ModulePath("app_core_legacy")); !ULK_SUCCEEDED(result))
        return result;
    void* object = nullptr;
    const result_t result = module.CreateObject(app_core::loader::ApplicationLoaderClass, nullptr,
                                                app_core::loader::IApplicationLoader::Iid, &object);
    if (ULK_SUCCEEDED(result))
        *loader = static_cast<app_core::loader::IApplicationLoader*>(object);
    return result;
}

} // namespace tfs::gui
