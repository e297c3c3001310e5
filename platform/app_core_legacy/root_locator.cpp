// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/objclient.h>
#include <foundation/result.h>
#include <platform/app_core_legacy/root_locator.h>

#include <new>
#include <utility>

namespace platform::app_core_legacy {

result_t RootLocator::GetInterface(ulk::iid_t iid, std::uint32_t, void** out) noexcept {
    if (out == nullptr)
        return ulk::eInvalidArgument;
    *out = nullptr;
    if (ULK_SUCCEEDED(QueryInterface(iid, out)))
        return ulk::sOk;
    try {
        return Find(iid, out);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (...) {
        return ulk::eUnspecified;
    }
}

result_t RootLocator::Find(ulk::iid_t iid, void** out) {
    std::string modulePath;
    std::uint32_t classId = 0;
    {
        ulk::LockGuard lock(m_mutex);
        for (;;) {
            if (m_cleared)
                return ulk::eNotInitialized;
            const auto found = m_services.find(iid);
            if (found == m_services.end())
                return ulk::eNoInterface;
            Service& service = found->second;
            if (service.object != nullptr) {
                service.object->AddRef();
                *out = service.interface;
                return ulk::sOk;
            }
            if (!service.making) {
                service.making = true;
                service.maker = std::this_thread::get_id();
                modulePath = service.modulePath;
                classId = service.classId;
                break;
            }
            // A service that asks for itself while it is made would wait for ever.
            if (service.maker == std::this_thread::get_id())
                return ulk::eInvalidState;
            m_made.wait(lock);
        }
    }
    return Make(iid, modulePath, classId, out);
}

result_t RootLocator::Make(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId, void** out) {
    void* interface = nullptr;
    std::string error;
    result_t result = m_modules.CreateObject(modulePath, classId, this, iid, &interface, error);
    // Every interface begins with the three operations of IObject.
    auto object = ulk::Ptr<ulk::IObject>::Adopt(static_cast<ulk::IObject*>(interface));
    {
        const ulk::LockGuard lock(m_mutex);
        const auto found = m_services.find(iid);
        if (m_cleared || found == m_services.end()) {
            result = ulk::eNotInitialized;
        } else {
            found->second.making = false;
            if (ULK_SUCCEEDED(result)) {
                m_order.push_back(iid);
                found->second.interface = interface;
                found->second.object = ulk::Ptr<ulk::IObject>(object).Detach();
                *out = interface;
                (void)object.Detach(); // the caller's
            }
        }
    }
    m_made.notify_all();
    if (ULK_FAILED(result) && iid != ulk::ITracer::Iid) {
        ulk::Ptr<ulk::ITracer> tracer;
        (void)ulk::GetInterface<ulk::ITracer>(this, tracer.Ref());
        ULK_TRACE(tracer.Get(), ulk::level::Failure)
            << "Cannot make a service of module " << modulePath << ": " << ulk::ResultText(result) << " " << error;
    }
    return result;
}

result_t RootLocator::Add(ulk::iid_t iid, void* interface, ulk::IObject* object) {
    const ulk::LockGuard lock(m_mutex);
    if (m_cleared)
        return ulk::eNotInitialized;
    const auto [it, added] = m_services.try_emplace(iid);
    if (!added)
        return ulk::eAlreadyExists;
    m_order.push_back(iid);
    object->AddRef();
    it->second.interface = interface;
    it->second.object = object;
    return ulk::sOk;
}

result_t RootLocator::AddClass(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId) {
    if (iid == ulk::IObject::Iid || iid == ulk::IServiceLocator::Iid || modulePath.empty())
        return ulk::eInvalidArgument;
    const ulk::LockGuard lock(m_mutex);
    if (m_cleared)
        return ulk::eNotInitialized;
    const auto [it, added] = m_services.try_emplace(iid);
    if (!added)
        return ulk::eAlreadyExists;
    it->second.modulePath = modulePath;
    it->second.classId = classId;
    return ulk::sOk;
}

void RootLocator::Clear() {
    std::map<ulk::iid_t, Service> services;
    std::vector<ulk::iid_t> order;
    {
        const ulk::LockGuard lock(m_mutex);
        m_cleared = true;
        services.swap(m_services);
        order.swap(m_order);
    }
    m_made.notify_all();
    for (auto iid = order.rbegin(); iid != order.rend(); ++iid)
        services[*iid].object->Release();
}

} // namespace platform::app_core_legacy
