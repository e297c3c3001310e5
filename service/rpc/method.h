// SPDX-License-Identifier: GPL-2.0-or-later
// How a method of the service is registered: with its body and with the privilege that it needs.
#pragma once

#include <foundation/result.h>
#include <service/rpc/service_api.h>
#include <wire/protocol.h>
#include <wire/results.h>

#include <capnp/capability.h>
#include <capnp/generated-header-support.h>
#include <cstdint>
#include <kj/async.h>
#include <span>

namespace tfs::service::rpc {

/// Who may call a method. There is no default and no value that means "unset".
enum class Privilege {
    Anyone,
    Owner,         ///< anyone may call; IServiceApi tests the caller against the object
    Administrator, ///< root, the administrators' group, in a development run the service's own user
};

constexpr bool IsAllowed(Privilege privilege, const Caller& caller) noexcept {
    return privilege != Privilege::Administrator || caller.isAdministrator;
}

class Method;

/// An object of the service as one client sees it. Whatever isn't in its table of methods isn't there. On the loop's
/// thread.
class ServiceObject : public capnp::Capability::Server {
public:
    /// `methods` outlives the object.
    ServiceObject(std::span<const Method> methods, const Caller& caller) : m_methods(methods), m_caller(caller) {}

    using Context = capnp::CallContext<capnp::AnyPointer, capnp::AnyPointer>;
    DispatchCallResult dispatchCall(std::uint64_t interfaceId, std::uint16_t methodId, Context context) final;

protected:
    const Caller& GetCaller() const noexcept { return m_caller; }

private:
    friend class Method;
    template <class Params, class Results>
    capnp::CallContext<Params, Results> Typed(Context context) {
        return internalGetTypedContext<Params, Results>(context);
    }

    const std::span<const Method> m_methods;
    const Caller m_caller;
};

/// One row of an object's table. A body is `result_t Object::Body(Params::Reader, Results::Builder)`; its code goes
/// into the results. An exception from it is turned into a code, and never ends the loop.
class Method {
public:
    /// Interface and ordinal are those of the schema. A row can't be made without a privilege.
    template <class Interface, auto Body>
    static constexpr Method Of(std::uint16_t ordinal, const char* name, Privilege privilege) {
        return Method(capnp::typeId<Interface>(), ordinal, name, privilege, &Invoke<Body>);
    }

    constexpr std::uint64_t InterfaceId() const noexcept { return m_interfaceId; }
    constexpr std::uint16_t Ordinal() const noexcept { return m_ordinal; }
    constexpr const char* Name() const noexcept { return m_name; }
    constexpr Privilege Needs() const noexcept { return m_privilege; }

    void Call(ServiceObject& object, ServiceObject::Context context) const { m_invoke(object, *this, context); }

private:
    using InvokeFunction = void (*)(ServiceObject&, const Method&, ServiceObject::Context);

    constexpr Method(std::uint64_t interfaceId, std::uint16_t ordinal, const char* name, Privilege privilege,
                     InvokeFunction invoke)
        : m_interfaceId(interfaceId), m_ordinal(ordinal), m_name(name), m_privilege(privilege), m_invoke(invoke) {}

    template <class Member>
    struct Signature;
    template <class ObjectClass, class Reader, class Builder>
    struct Signature<result_t (ObjectClass::*)(Reader, Builder)> {
        using Object = ObjectClass;
        using Params = typename Reader::Reads;
        using Results = typename Builder::Builds;
    };

    template <auto Body>
    static void Invoke(ServiceObject& object, const Method& method, ServiceObject::Context context);

    std::uint64_t m_interfaceId;
    std::uint16_t m_ordinal;
    const char* m_name;
    Privilege m_privilege;
    InvokeFunction m_invoke;
};

/// Throws an OVERLOADED kj::Exception: nothing of an answer beyond the client's limit is sent.
void RequireSendable(std::uint64_t words);

template <auto Body>
void Method::Invoke(ServiceObject& object, const Method& method, ServiceObject::Context context) {
    using Sig = Signature<decltype(Body)>;
    auto typed = object.Typed<typename Sig::Params, typename Sig::Results>(context);
    auto results = typed.getResults();
    result_t code = ulk::eAccessDenied;
    if (IsAllowed(method.Needs(), object.GetCaller())) {
        try {
            code = (static_cast<typename Sig::Object&>(object).*Body)(typed.getParams(), results);
        } catch (...) {
            code = wire::ResultFromCurrentException();
        }
    }
    typed.releaseParams();
    RequireSendable(results.totalSize().wordCount);
    results.setResult(code);
}

/// The tables of every object that a client can reach; for the start-up trace and the tests.
std::span<const std::span<const Method>> AllMethodTables() noexcept;

} // namespace tfs::service::rpc
