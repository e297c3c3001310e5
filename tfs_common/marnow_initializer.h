// SPDX-License-Identifier: GPL-2.0-or-later
// Starts the older framework that the product's modules still need.
#pragma once

#include <contract/app_core/loader.h>
#include <contract/marnow.h>
#include <foundation/module.h>
#include <foundation/object.h>
#include <foundation/string16.h>

#include <string>

namespace tfs {

/// Owned by the service manager's initializer; used on the thread that starts the program. Its destructor shuts the
/// framework down and closes its libraries; one whose objects are still held elsewhere stays loaded.
class MarnowInitializer {
public:
    MarnowInitializer() = default;
    ~MarnowInitializer();
    MarnowInitializer(const MarnowInitializer&) = delete;
    MarnowInitializer& operator=(const MarnowInitializer&) = delete;

    /// Loads the libraries from `libDirectory`, names it in TL_PLUGINS_PATH, starts the framework and gets its root. A
    /// failing step writes its text to standard error and returns its code. Throws std::bad_cast where the folder
    /// doesn't convert to UTF-8.
    result_t Init(app_core::loader::IApplicationInfrastructureLoader* loader, ulk::IServiceLocator* sl,
                  const ulk::types::string16_t& libDirectory);

private:
    result_t LoadLibraries(const std::string& folder);
    result_t Start(ulk::IServiceLocator* sl);

    ulk::Module m_loaderModule;
    ulk::Module m_paramsModule;
    marnow::ShutdownFunction m_shutdown = nullptr; ///< set while the framework runs
    ulk::Ptr<marnow::IRootProvider> m_provider;
    ulk::Ptr<ulk::IServiceLocator> m_root;
};

} // namespace tfs
