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
#include <utility>
#include <vector>

namespace platform::app_core_legacy {

/// A registry of services by identifier: ready objects, and classes of modules that are made once, at their first
/// lookup. All operations from any thread; no lock is held while a service is made or released.
class RootLocator final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IServiceLocator> {
public:
    explicit RootLocator(std::shared_ptr<ModuleStore> modules) : m_modules(std::move(modules)) {}

    /// eNoInterface for an unknown identifier; the code of the failed step where a service can't be made, which is then
    /// tried again at the next lookup; eNotInitialized after Clear. A lookup waits while another thread makes the
    /// service; where that thread waits for this one, directly or through others, the answer is eInvalidState.
    result_t GetInterface(ulk::iid_t iid, std::uint32_t reserved, void** out) noexcept override;

    /// Adds a ready object, of which a reference is kept. eAlreadyExists where the identifier is taken.
    template <class Interface>
    result_t AddObject(Interface* object) {
        return Add(Interface::Iid, object, object);
    }
    /// Adds a class that is made at the first lookup.
    result_t AddClass(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId);

    /// Lets lookups fail from now on, waits until no other thread is making a service and releases all of them, the one
    /// made last first.
    void Clear();

private:
    ~RootLocator() override;

    struct Service {
        void* interface = nullptr;      ///< what a lookup hands out
        ulk::IObject* object = nullptr; ///< the same object, to count references
        std::string modulePath;
        std::uint32_t classId = 0;
        bool making = false;
        std::thread::id maker;
    };
    class Making;

    result_t Add(ulk::iid_t iid, void* interface, ulk::IObject* object);
    result_t Find(ulk::iid_t iid, void** out);
    result_t Make(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId, void** out);
    result_t Keep(ulk::iid_t iid, ulk::IObject* object, void* interface);
    bool WouldWaitForItself(const Service& wanted) const ULK_REQUIRES(m_mutex);
    bool IsAnotherThreadMaking() const ULK_REQUIRES(m_mutex);

    const std::shared_ptr<ModuleStore> m_modules;
    ulk::Mutex m_mutex;
    std::condition_variable_any m_made;
    std::map<ulk::iid_t, Service> m_services ULK_GUARDED_BY(m_mutex);
    std::vector<ulk::iid_t> m_order ULK_GUARDED_BY(m_mutex); ///< of making
    /// What each thread that waits is waiting for.
    std::map<std::thread::id, ulk::iid_t> m_waiting ULK_GUARDED_BY(m_mutex);
    bool m_cleared ULK_GUARDED_BY(m_mutex) = false;
};

} // namespace platform::app_core_legacy
