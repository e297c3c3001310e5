// SPDX-License-Identifier: GPL-2.0-or-later
// The module's export and the factories of its two classes.
#include <foundation/module.h>
#include <platform/remoting/connection_factory.h>
#include <platform/remoting/transport.h>

#include <new>

namespace {

using namespace ulk;

template <class Class>
Class* MakeObject(IServiceLocator* locator) {
    if constexpr (std::is_constructible_v<Class, IServiceLocator*>)
        return new Class(locator);
    else
        return new Class();
}

template <class Class>
class Factory final : public SimpleObjectBase<NoServiceStrategy, IObjectFactory> {
public:
    result_t CreateInstance(IServiceLocator* locator, iid_t iid, void** out) noexcept override {
        if (out == nullptr)
            return eInvalidArgument;
        *out = nullptr;
        try {
            const auto object = Ptr<Class>::Adopt(MakeObject<Class>(locator));
            return object->QueryInterface(iid, out);
        } catch (const std::bad_alloc&) {
            return eOutOfMemory;
        }
    }
};

} // namespace

ULK_MODULE_EXPORT result_t ulkGetObjectFactory(void*, std::uint32_t classId, IObjectFactory** factory) {
    if (factory == nullptr)
        return eInvalidArgument;
    *factory = nullptr;
    switch (classId) {
    case remoting::ConnectionFactoryClass:
        *factory = new (std::nothrow) Factory<remoting::ConnectionFactory>();
        break;
    case remoting::TransportServiceClass:
        *factory = new (std::nothrow) Factory<remoting::TransportService>();
        break;
    default:
        return eClassNotFound;
    }
    return *factory != nullptr ? sOk : eOutOfMemory;
}
