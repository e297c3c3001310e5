// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/objclient.h>
#include <foundation/result.h>
#include <platform/app_core_legacy/root_locator.h>

#include <algorithm>
#include <exception>
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
                modulePath = service.modulePath;
                classId = service.classId;
                service.maker = std::this_thread::get_id();
                service.making = true;
                break;
            }
            if (WouldWaitForItself(service))
                return ulk::eInvalidState;
            const auto waiting = m_waiting.emplace(std::this_thread::get_id(), iid).first;
            m_made.wait(lock);
            m_waiting.erase(waiting);
        }
    }
    return Make(iid, modulePath, classId, out);
}

bool RootLocator::WouldWaitForItself(const Service& wanted) const {
    // A thread makes several services, one within the other, but waits for one at most. So the chain has no branches,
    // and no ring either, since whoever would have closed one was turned away.
    for (const Service* service = &wanted; service->making;) {
        if (service->maker == std::this_thread::get_id())
            return true;
        const auto waiting = m_waiting.find(service->maker);
        if (waiting == m_waiting.end())
            return false;
        service = &m_services.at(waiting->second);
    }
    return false;
}

/// Marks a service as being made until its end, whichever way that is reached.
class RootLocator::Making {
public:
    Making(RootLocator& locator, ulk::iid_t iid) noexcept : m_locator(locator), m_iid(iid) {}
    ~Making() {
        {
            const ulk::LockGuard lock(m_locator.m_mutex);
            m_locator.m_services.find(m_iid)->second.making = false;
        }
        m_locator.m_made.notify_all();
    }
    Making(const Making&) = delete;
    Making& operator=(const Making&) = delete;

private:
    RootLocator& m_locator;
    ulk::iid_t m_iid;
};

result_t RootLocator::Make(ulk::iid_t iid, const std::string& modulePath, std::uint32_t classId, void** out) {
    std::string error;
    result_t result = ulk::eUnspecified;
    {
        // Outlives the object, so that Clear returns after an object that came too late is released.
        const Making making(*this, iid);
        try {
            void* interface = nullptr;
            result = m_modules->CreateObject(modulePath, classId, this, iid, &interface, error);
            // Every interface begins with the three operations of IObject.
            auto object = ulk::Ptr<ulk::IObject>::Adopt(static_cast<ulk::IObject*>(interface));
            if (ULK_SUCCEEDED(result))
                result = Keep(iid, object.Get(), interface);
            if (ULK_SUCCEEDED(result)) {
                *out = interface;
                (void)object.Detach(); // the caller's
            }
        } catch (const std::bad_alloc&) {
            result = ulk::eOutOfMemory;
        } catch (const std::exception& e) {
            result = ulk::eUnspecified;
            error = e.what();
        }
    }
    if (ULK_FAILED(result) && iid != ulk::ITracer::Iid) {
        ulk::Ptr<ulk::ITracer> tracer;
        (void)ulk::GetInterface<ulk::ITracer>(this, tracer.Ref());
        ULK_TRACE(tracer.Get(), ulk::level::Failure)
            << "Cannot make a service of module " << modulePath << ": " << ulk::ResultText(result) << " " << error;
    }
    return result;
}

result_t RootLocator::Keep(ulk::iid_t iid, ulk::IObject* object, void* interface) {
    if (object == nullptr)
        return ulk::eUnexpected;
    const ulk::LockGuard lock(m_mutex);
    if (m_cleared)
        return ulk::eNotInitialized;
    Service& service = m_services.at(iid);
    m_order.push_back(iid);
    object->AddRef();
    service.object = object;
    service.interface = interface;
    return ulk::sOk;
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

bool RootLocator::IsAnotherThreadMaking() const {
    return std::any_of(m_services.begin(), m_services.end(), [](const auto& entry) {
        return entry.second.making && entry.second.maker != std::this_thread::get_id();
    });
}

void RootLocator::Clear() {
    std::vector<ulk::iid_t> order;
    {
        ulk::LockGuard lock(m_mutex);
        m_cleared = true;
        m_made.notify_all();
        while (IsAnotherThreadMaking())
            m_made.wait(lock);
        order.swap(m_order);
    }
    for (auto iid = order.rbegin(); iid != order.rend(); ++iid) {
        ulk::IObject* object = nullptr;
        {
            const ulk::LockGuard lock(m_mutex);
            object = std::exchange(m_services.at(*iid).object, nullptr);
        }
        object->Release();
    }
}

RootLocator::~RootLocator() { Clear(); }

} // namespace platform::app_core_legacy
