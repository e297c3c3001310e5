// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/product_paths.h>
#include <service/app/service_paths.h>
#include <tfs_common/translator.h>

namespace tfs::service::app {

ServicePaths ServicePaths::OfProduct() {
    ServicePaths product;
    product.root = paths::Root;
    product.libraryFolder = paths::LibraryFolder;
    product.userTraceFolder = paths::UserLogFolder;
    product.userDumpFolder = paths::UserDumpFolder;
    product.serviceProgram = paths::ServiceProgram;
    product.scannerProgram = paths::ScannerProgram;
    product.seedBasesFolder = paths::SeedBasesFolder;
    product.basesFolder = paths::BasesFolder;
    product.privateFolder = paths::PrivateFolder;
    product.configuration = paths::ServiceConfiguration;
    product.policyFolder = paths::PolicyFolder;
    product.statement =
        paths::DocumentFolder + localization::GetLocalizedString(localization::entry::GuiSettingsTSNFileName);
    product.taskStateFile = paths::TaskStateFile;
    product.socket = paths::ServiceSocket;
    product.lock = paths::ServiceLock;
    return product;
}

} // namespace tfs::service::app
