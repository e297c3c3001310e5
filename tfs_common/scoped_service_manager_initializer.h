// SPDX-License-Identifier: GPL-2.0-or-later
// Brings up the services that a program keeps for itself, and takes them down again.
#pragma once

#include <contract/app_core/loader.h>
#include <foundation/object.h>
#include <foundation/string16.h>
#include <tfs_common/marnow_initializer.h>

#include <functional>
#include <memory>
#include <vector>

namespace tfs {

/// Lives on the stack of the application's Run, on its thread. Its destructor runs the clean-up actions in reverse
/// order of their registration, then shuts the older framework down.
class ScopedServiceManagerInitializer {
public:
    ScopedServiceManagerInitializer();
    ~ScopedServiceManagerInitializer();
    ScopedServiceManagerInitializer(const ScopedServiceManagerInitializer&) = delete;
    ScopedServiceManagerInitializer& operator=(const ScopedServiceManagerInitializer&) = delete;

    /// Starts the older framework and opens the two stores. Paths are UTF-16; one that doesn't convert throws
    /// std::bad_cast. Returns the code of the step that failed; eInvalidArgument for an empty storage folder.
    /// `serviceProcess`, the event store's name and the two directories are for programs that scan in their own
    /// process; others pass false and empty texts. A store that is to be saved must open; one that isn't lives in
    /// memory where its file can't be used, as in a folder that belongs to another user.
    result_t Init(ulk::IServiceLocator* sl, app_core::loader::IApplicationInfrastructureLoader* loader,
                  bool serviceProcess, const ulk::types::string16_t& settingsName,
                  const ulk::types::string16_t& storageName, const ulk::types::string16_t& eventStoreName,
                  const ulk::types::string16_t& libDirectory, const ulk::types::string16_t& storageFolder,
                  const ulk::types::string16_t& basesDirectory, const ulk::types::string16_t& cacheDirectory,
                  bool saveSettings, bool saveData);

private:
    template <class Storage>
    result_t StartStorage(ulk::IServiceLocator* sl, app_core::loader::IApplicationInfrastructureLoader* loader,
                          const std::string& modulePath, std::uint32_t classId, const std::string& path, bool save);

    std::unique_ptr<MarnowInitializer> m_marnowInitializer;
    std::vector<std::function<void()>> m_cleanUp;
};

} // namespace tfs
