// SPDX-License-Identifier: GPL-2.0-or-later
// The modules of a run.
#pragma once

#include <foundation/module.h>
#include <foundation/sync.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace platform::app_core_legacy {

/// Loads each module once and keeps it loaded until the process ends, also when the run and the store are over: threads
/// of services and holders of their objects may still be in a module's code. Its count of live objects doesn't tell,
/// since it falls to 0 before the last Release has returned. Any thread.
class ModuleStore {
public:
    ModuleStore() = default;
    ~ModuleStore();
    ModuleStore(const ModuleStore&) = delete;
    ModuleStore& operator=(const ModuleStore&) = delete;

    /// Makes an object of a class of the module at `path`. On failure `error` holds the linker's text, or is empty.
    result_t CreateObject(const std::string& path, std::uint32_t classId, ulk::IServiceLocator* locator, ulk::iid_t iid,
                          void** out, std::string& error);

private:
    result_t Load(const std::string& path, ulk::Module** module, std::string& error) ULK_EXCLUDES(m_mutex);

    ulk::Mutex m_mutex;
    std::vector<std::pair<std::string, std::unique_ptr<ulk::Module>>> m_modules ULK_GUARDED_BY(m_mutex);
};

} // namespace platform::app_core_legacy
