// SPDX-License-Identifier: GPL-2.0-or-later
// The root service locator of a run.
#pragma once

#include <foundation/object.h>
#include <foundation/sync.h>
#include <foundation/trace.h>
#include <platform/app_core_legacy/module_store.h>

#include <condition_variable>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace platform::app_core_legacy {

/// A registry of services by identifier: ready objects, and classes of modules that are made once, at their first
/// lookup. All operations from any thread; no lock is held while a service is made or released.
class RootLocator final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IServiceLocator> {
public:
    explicit RootLocator(ModuleStore& modules) : m_modules(modules) {}

    /// eNoInterface for an unknown identifier; the code of the failed step where a service can't be made, which is then
    /// tried again at the next lookup; eNotInitialized after Clear.
    result_t GetInterface(ulk::iid_t iid, std::uint32_t reserved, void** out) noexcept override;

    /// Adds a ready object, of which a reference is kept. eAlreadyExists where the identifier is taken.
    template <class Interface>
    result_t AddObject(Interface* object) {
        return Add(Interface::Iid, object, object);
    }
    /// Adds a class that is made at the first lookup.
    result_t AddClass(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId);

    /// Releases all services, the one made last first. Lookups fail from now on.
    void Clear();

private:
    ~RootLocator() override = default;

    struct Service {
        void* interface = nullptr;      ///< what a lookup hands out
        ulk::IObject* object = nullptr; ///< the same object, to count references
        std::string modulePath;
        std::uint32_t classId = 0;
        bool making = false;
        std::thread::id maker;
    };

    result_t Add(ulk::iid_t iid, void* interface, ulk::IObject* object);
    result_t Find(ulk::iid_t iid, void** out);
    result_t Make(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId, void** out);

    ModuleStore& m_modules;
    ulk::Mutex m_mutex;
    std::condition_variable_any m_made;
    std::map<ulk::iid_t, Service> m_services ULK_GUARDED_BY(m_mutex);
    std::vector<ulk::iid_t> m_order ULK_GUARDED_BY(m_mutex); ///< of making
    bool m_cleared ULK_GUARDED_BY(m_mutex) = false;
};

} // namespace platform::app_core_legacy
