// SPDX-License-Identifier: GPL-2.0-or-later
// A module whose services trace when they are made and released, so that a test sees the order.
#include <contract/remoting.h>
#include <foundation/module.h>
#include <foundation/objclient.h>
#include <tests/unit/platform/modules/stand_in.h>

#include <string>

namespace {

template <class Interface>
class Service : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, Interface> {
public:
    Service(ulk::IServiceLocator* locator, const char* name) : m_name(name) {
        (void)ulk::GetInterface(locator, m_tracer.Ref());
        ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << m_name << " made";
    }

protected:
    ~Service() override { ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << m_name << " released"; }

private:
    const char* m_name;
    ulk::Ptr<ulk::ITracer> m_tracer;
};

class ConnectionFactory final : public Service<ulk::remoting::IConnectionFactory> {
public:
    explicit ConnectionFactory(ulk::IServiceLocator* locator) : Service(locator, "connection factory") {}
    result_t CreateRemoteRpc(utils::Anyptr, ulk::remoting::IRemoteConnection**) noexcept override {
        return ulk::eNotReady;
    }
};

class TransportService final : public Service<ulk::remoting::ITransportService> {
public:
    explicit TransportService(ulk::IServiceLocator* locator) : Service(locator, "transport") {}
    result_t GetInterface(ulk::iid_t, std::uint32_t, void**) noexcept override { return ulk::eNoInterface; }
};

class Probe final : public Service<test::IProbe> {
public:
    explicit Probe(ulk::IServiceLocator* locator) : Service(locator, "probe") {
        // Asking for oneself while one is made can't be answered, but must come back.
        ulk::Ptr<test::IProbe> self;
        m_ownLookUp = ulk::GetInterface(locator, self.Ref());
    }
    result_t OwnLookUp() noexcept override { return m_ownLookUp; }

private:
    result_t m_ownLookUp = 0;
};

template <class T>
class Factory final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IObjectFactory> {
public:
    result_t CreateInstance(ulk::IServiceLocator* locator, ulk::iid_t iid, void** out) noexcept override {
        return ulk::Ptr<T>::Adopt(new T(locator))->QueryInterface(iid, out);
    }
};

test::Script g_script;

class Scripted final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IObject> {
public:
    explicit Scripted(std::uint32_t classId) : m_classId(classId) {}

private:
    ~Scripted() override {
        if (g_script.onRelease)
            g_script.onRelease(m_classId);
    }

    std::uint32_t m_classId;
};

class ScriptedFactory final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, ulk::IObjectFactory> {
public:
    explicit ScriptedFactory(std::uint32_t classId) : m_classId(classId) {}
    result_t CreateInstance(ulk::IServiceLocator* locator, ulk::iid_t, void** out) noexcept override {
        if (g_script.onMake)
            g_script.onMake(m_classId, locator);
        *out = static_cast<ulk::IObject*>(new Scripted(m_classId));
        return ulk::sOk;
    }

private:
    std::uint32_t m_classId;
};

} // namespace

ULK_MODULE_EXPORT test::Script* testGetScript() { return &g_script; }

ULK_MODULE_EXPORT result_t ulkGetObjectFactory(void*, std::uint32_t classId, ulk::IObjectFactory** factory) {
    if (classId >= test::kFirstScripted && classId <= test::kLastScripted) {
        if (g_script.onEntry)
            g_script.onEntry(classId);
        *factory = new ScriptedFactory(classId);
        return ulk::sOk;
    }
    switch (classId) {
    case ulk::remoting::ConnectionFactoryClass:
        *factory = new Factory<ConnectionFactory>();
        return ulk::sOk;
    case ulk::remoting::TransportServiceClass:
        *factory = new Factory<TransportService>();
        return ulk::sOk;
    case test::IProbe::Iid:
        *factory = new Factory<Probe>();
        return ulk::sOk;
    default:
        *factory = nullptr;
        return ulk::eClassNotFound;
    }
}

ULK_MODULE_EXPORT std::uint32_t ulkGetLiveObjectCount() { return ulk::ObjectModuleAutoLockTyped::LiveObjects(); }
