// SPDX-License-Identifier: GPL-2.0-or-later
// How it stands with updates of the application: one that waits, one that is on disk and doesn't run yet.
#pragma once

#include <contract/tfs/app_info.h>
#include <service/app_info/package_state.h>

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace tfs::service::app_info {

struct ApplicationUpdate {
    ApplicationUpdateState state = ApplicationUpdateState::Unknown;
    std::string version; ///< of the update; empty where it isn't known
    std::string module;  ///< with ModuleUpdateInstalled: name of the file
    friend bool operator==(const ApplicationUpdate&, const ApplicationUpdate&) = default;
};

/// Used on one thread.
class UpdateWatch {
public:
    struct Options {
        std::vector<std::string> programs; ///< whose change wants the application restarted
        std::string libraryFolder;         ///< of the run-time modules; ends in '/'
        PackageManager::Options packages;
    };
    explicit UpdateWatch(Options options);

    /// Looks at the files that this process and the scanner (0 or less: there is none) run from, and at the package
    /// manager. Blocks as PackageManager::Look does.
    ApplicationUpdate Look(pid_t scanner, const std::function<bool()>& cancelled);

private:
    bool IsReplacedProgram(const std::string& path) const;
    bool IsModule(const std::string& path) const;

    Options m_options;
    PackageManager m_packages;
};

} // namespace tfs::service::app_info
