// SPDX-License-Identifier: GPL-2.0-or-later
// Where the service finds and keeps things; the product's paths, or a test's.
#pragma once

#include <string>

namespace tfs::service::app {

/// Folders end in '/'.
struct ServicePaths {
    std::string libraryFolder;
    std::string scannerProgram;
    std::string seedBasesFolder;
    std::string basesFolder;
    std::string privateFolder;
    std::string logFolder;
    std::string configuration;
    std::string eventDatabase;
    std::string taskStateFile;
    std::string socket;
    std::string lock;

    static ServicePaths OfProduct();
};

} // namespace tfs::service::app
