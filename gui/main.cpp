// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/product_paths.h>
#include <gui/common/certified_build.h>
#include <gui/restart_checker.h>
#include <gui/signal_window.h>
#include <gui/start_ahead.h>
#include <gui/start_settings.h>
#include <gui/tesl_gui.h>
#include <tfs_common/config_data.h>
#include <tfs_common/pidfile.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using ConfigPtr = std::shared_ptr<const tfs::loader::ConfigData>;

constexpr char ProgramName[] = "tesl-gui";

ConfigPtr WithLocaleApplied(ConfigPtr config) {
    if (!ULK_SUCCEEDED(tfs::gui::ApplyLocale(config->locale)))
        return config;
    auto applied = std::make_shared<tfs::loader::ConfigData>(*config);
    applied->localeApplied = true;
    return applied;
}

int NotifyRunningInstance(const tfs::PidFile& pidFile) {
    const int pid = pidFile.ReadPid();
    // Zero and negative numbers would name whole groups of processes.
    int error = ESRCH;
    if (pid > 0)
        error = ::kill(pid, SIGUSR1) == 0 ? 0 : errno;
    if (error == 0) {
        std::cout << "Already running instance with pid " << pid << " has been notified\n";
        return 0;
    }
    std::cerr << "Another instance with pid " << pid
              << " is already running but not responding: " << std::strerror(error) << '\n';
    return 1;
}

/// Main's steps from the loader on. The module goes last.
int RunApplication(int& argc, char** argv, const ConfigPtr& config) {
    using tfs::gui::TeslGuiApp;
    ulk::Module module;
    ulk::Ptr<app_core::loader::IApplicationLoader> loader;
    if (const result_t result = tfs::gui::CreateApplicationLoader(module, loader.Ref()); !ULK_SUCCEEDED(result)) {
        std::cerr << "Cannot create application loader. Code: " << std::hex << static_cast<std::uint32_t>(result)
                  << '\n';
        return 1;
    }
    const bool allComponentsLogging = std::getenv("TFS_ENABLE_ALL_COMPONENTS_LOGGING") != nullptr;
    (void)::setenv("QT_XKB_CONFIG_ROOT", "/usr/share/X11/xkb/", 0);
    tfs::gui::ChooseDisplay();
    const auto loadedAhead = tfs::gui::LoadAhead();
    const auto crashDumps = tfs::gui::MakeCrashDumpSettings(::getuid());
    const auto tracer = tfs::gui::MakeTracerSettings(*config, ProgramName, allComponentsLogging);
    TeslGuiApp::GetInstance(std::shared_ptr<TeslGuiApp>(new TeslGuiApp(argc, argv, config)), false);
    const result_t result =
        loader->Run(tracer, app_core::loader::RunModeForeground, crashDumps, nullptr, TeslGuiApp::GetInstance().get());
    TeslGuiApp::GetInstance(nullptr, true);
    return result;
}

} // namespace

int main(int argc, char** argv) {
    // Before there are threads and a pid file that tells others whom to signal.
    tfs::gui::HoldSignals();
    ::umask(077);
    const ConfigPtr config = WithLocaleApplied(tfs::loader::LoadConfigData());
    const tfs::gui::RestartChecker restartChecker(argc, argv);
    const tfs::PidFile pidFile(tfs::paths::GuiPidFilePrefix + std::to_string(::getuid()) + ".pid", true);
    if (!pidFile.owner())
        return NotifyRunningInstance(pidFile);
    if (tfs::gui::IsCertifiedBuild()) {
        std::cout << "Gui is prohibited for certified build.\n";
        return 1;
    }
    return RunApplication(argc, argv, config);
}
