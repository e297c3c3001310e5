// SPDX-License-Identifier: GPL-2.0-or-later
// Where the service finds and keeps things; the product's paths, or a test's.
#pragma once

#include <string>

namespace tfs::service::app {

/// Folders end in '/'.
struct ServicePaths {
    std::string root; ///< put before each path of the application settings; empty in a release build
    std::string libraryFolder;
    std::string userTraceFolder; ///< where the window of each user has a folder for its trace
    std::string userDumpFolder;  ///< the same for what is left of a crash
    std::string serviceProgram;
    std::string scannerProgram;
    std::string seedBasesFolder;
    std::string basesFolder;
    std::string privateFolder;
    std::string configuration;
    std::string policyFolder;
    std::string statement; ///< of the security network
    std::string taskStateFile;
    std::string socket;
    std::string lock;

    static ServicePaths OfProduct();
};

} // namespace tfs::service::app
