// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/product_paths.h>
#include <service/app/service_paths.h>

namespace tfs::service::app {

ServicePaths ServicePaths::OfProduct() {
    ServicePaths product;
    product.libraryFolder = paths::LibraryFolder;
    product.scannerProgram = paths::ScannerProgram;
    product.seedBasesFolder = paths::SeedBasesFolder;
    product.basesFolder = paths::BasesFolder;
    product.privateFolder = paths::PrivateFolder;
    product.logFolder = paths::LogFolder;
    product.configuration = paths::ServiceConfiguration;
    product.eventDatabase = paths::EventDatabase;
    product.taskStateFile = paths::TaskStateFile;
    product.socket = paths::ServiceSocket;
    product.lock = paths::ServiceLock;
    return product;
}

} // namespace tfs::service::app
