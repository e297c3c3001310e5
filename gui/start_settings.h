// SPDX-License-Identifier: GPL-2.0-or-later
// What main sets up before the application loader takes over.
#pragma once

#include <contract/app_core/loader.h>
#include <contract/product_paths.h>
#include <foundation/module.h>
#include <tfs_common/config_data.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace tfs::gui {

/// Path of a run-time module of the product, by its name without "lib" and ".so".
std::string ModulePath(std::string_view name);

/// Takes the locale for this process and what it starts: LC_ALL, then setlocale. eUnspecified where the system doesn't
/// have it; LC_ALL is then put back to its value, if it had one. For main, before there are threads.
result_t ApplyLocale(const std::string& locale);

/// Asks Qt for Wayland where that is the only display: without word of the kind of session it takes X11 and fails.
/// Leaves a QT_QPA_PLATFORM that is set alone. For main, before there are threads.
void ChooseDisplay();

/// Everything, or by the configuration's level: 1 failures, 2 detail, anything else nothing.
std::int32_t ChooseTraceLevel(bool allComponentsLogging, std::int32_t configuredLevel) noexcept;

/// Settings of this run's trace for a program of that name.
app_core::loader::TracerSettings MakeTracerSettings(const tfs::loader::ConfigData& config, std::string_view programName,
                                                    bool allComponentsLogging);

/// Where crash dumps go. A user other than root has a folder of his own below `userFolder`, which ends in a slash; it
/// is made where it is missing, and where that fails the settings name it all the same.
app_core::loader::CrashDumpSettings MakeCrashDumpSettings(uid_t uid,
                                                          const std::string& userFolder = tfs::paths::UserDumpFolder);

/// Whether an argument behind the program's name says that only the tray icon is to show. Calls `sleep` with ten
/// seconds for every such argument: a desktop that starts programs at log-in needs a while before its tray is there.
bool ReadTrayOnly(int argc, const char* const* argv, const std::function<void(unsigned seconds)>& sleep);

/// Loads the module of the application loader and makes the loader. The module must outlive it.
result_t CreateApplicationLoader(ulk::Module& module, app_core::loader::IApplicationLoader** loader);

} // namespace tfs::gui
