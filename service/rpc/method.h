// SPDX-License-Identifier: GPL-2.0-or-later
// How a method of the service is registered: with its body and with the privilege that it needs.
#pragma once

#include <foundation/result.h>
#include <service/rpc/blocking_calls.h>
#include <service/rpc/service_api.h>
#include <wire/protocol.h>
#include <wire/results.h>

#include <capnp/capability.h>
#include <capnp/generated-header-support.h>
#include <cstdint>
#include <kj/async.h>
#include <memory>
#include <span>
#include <utility>

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
    /// `methods` outlives the object. `blocking` and `slow` are there where a method of the table blocks or is slow.
    ServiceObject(std::span<const Method> methods, const Caller& caller,
                  std::shared_ptr<BlockingCalls> blocking = nullptr, std::shared_ptr<BlockingCalls> slow = nullptr)
        : m_methods(methods), m_caller(caller), m_blocking(std::move(blocking)), m_slow(std::move(slow)) {}

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
    const std::shared_ptr<BlockingCalls> m_blocking;
    const std::shared_ptr<BlockingCalls> m_slow;
};

/// One row of an object's table. Exceptions from what a method does are turned into a code, and never end the loop.
class Method {
public:
    /// Answered at once, on the loop's thread. A body is `result_t Object::Body(Params::Reader, Results::Builder)`; its
    /// code goes into the results.
    /// Interface and ordinal are those of the schema. A row can't be made without a privilege.
    template <class Interface, auto Body>
    static constexpr Method Of(std::uint16_t ordinal, const char* name, Privilege privilege) {
        return Method(capnp::typeId<Interface>(), ordinal, name, privilege, &Invoke<Body>);
    }

    /// Answered by a helper thread. `BlockingCall` is made for each call and has
    /// - the types Params and Results,
    /// - `void Read(Params::Reader)`, which copies the parameters, on the loop's thread,
    /// - `result_t Run(IBlockingApi&, const Caller&)`, or the same with IBackupApi, on a helper thread,
    /// - `void Write(result_t code, Results::Builder)`, which writes what there is beside the code, on the loop's
    /// thread. A call that has to wait behind too many of its connection is eInsufficientResources.
    template <class Interface, class BlockingCall>
    static constexpr Method Blocking(std::uint16_t ordinal, const char* name, Privilege privilege) {
        return Method(capnp::typeId<Interface>(), ordinal, name, privilege,
                      &InvokeBlocking<BlockingCall, &ServiceObject::m_blocking>);
    }
    /// The same for what takes as long as files are large: on helper threads of its own, so that the connection's other
    /// calls are answered meanwhile.
    template <class Interface, class BlockingCall>
    static constexpr Method Slow(std::uint16_t ordinal, const char* name, Privilege privilege) {
        return Method(capnp::typeId<Interface>(), ordinal, name, privilege,
                      &InvokeBlocking<BlockingCall, &ServiceObject::m_slow>);
    }

    constexpr std::uint64_t InterfaceId() const noexcept { return m_interfaceId; }
    constexpr std::uint16_t Ordinal() const noexcept { return m_ordinal; }
    constexpr const char* Name() const noexcept { return m_name; }
    constexpr Privilege Needs() const noexcept { return m_privilege; }

    kj::Promise<void> Call(ServiceObject& object, ServiceObject::Context context) const {
        return m_invoke(object, *this, context);
    }

private:
    using InvokeFunction = kj::Promise<void> (*)(ServiceObject&, const Method&, ServiceObject::Context);

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
    static kj::Promise<void> Invoke(ServiceObject& object, const Method& method, ServiceObject::Context context);
    template <class BlockingCall, auto Calls>
    static kj::Promise<void> InvokeBlocking(ServiceObject& object, const Method& method,
                                            ServiceObject::Context context);
    template <class Context, class Write>
    static void Answer(Context& context, Write write);

    std::uint64_t m_interfaceId;
    std::uint16_t m_ordinal;
    const char* m_name;
    Privilege m_privilege;
    InvokeFunction m_invoke;
};

/// Throws wire::AnswerTooLarge where the answer is beyond the client's limit; nothing of it is sent.
void RequireSendable(std::uint64_t words);

/// `write(results)` fills the results and tells the code.
template <class Context, class Write>
void Method::Answer(Context& context, Write write) {
    auto results = context.getResults();
    result_t code = ulk::eUnexpected;
    try {
        code = write(results);
    } catch (...) {
        code = wire::ResultFromCurrentException();
    }
    context.releaseParams();
    RequireSendable(results.totalSize().wordCount);
    results.setResult(code);
}

template <auto Body>
kj::Promise<void> Method::Invoke(ServiceObject& object, const Method& method, ServiceObject::Context context) {
    using Sig = Signature<decltype(Body)>;
    auto typed = object.Typed<typename Sig::Params, typename Sig::Results>(context);
    Answer(typed, [&](auto& results) {
        if (!IsAllowed(method.Needs(), object.GetCaller()))
            return ulk::eAccessDenied;
        return (static_cast<typename Sig::Object&>(object).*Body)(typed.getParams(), results);
    });
    return kj::READY_NOW;
}

template <class BlockingCall, auto Calls>
kj::Promise<void> Method::InvokeBlocking(ServiceObject& object, const Method& method, ServiceObject::Context context) {
    auto typed = object.Typed<typename BlockingCall::Params, typename BlockingCall::Results>(context);
    const auto refuse = [&typed](result_t code) -> kj::Promise<void> {
        Answer(typed, [code](auto&) { return code; });
        return kj::READY_NOW;
    };
    if (!IsAllowed(method.Needs(), object.GetCaller()))
        return refuse(ulk::eAccessDenied);
    // Plain data, which the helper thread and the loop have one after the other.
    struct State {
        BlockingCall call;
        result_t code = ulk::eUnexpected;
    };
    const auto state = std::make_shared<State>();
    try {
        state->call.Read(typed.getParams());
    } catch (...) {
        return refuse(wire::ResultFromCurrentException());
    }
    typed.releaseParams();
    BlockingCalls& calls = *(object.*Calls);
    auto started = calls.Start([state, apis = calls.Apis(), caller = object.GetCaller()] {
        try {
            state->code = state->call.Run(apis, caller);
        } catch (...) {
            state->code = wire::ResultFromCurrentException();
        }
    });
    KJ_IF_MAYBE (done, started) {
        typed.allowCancellation();
        return done->then([state, typed]() mutable {
            Answer(typed, [&state = *state](auto& results) {
                state.call.Write(state.code, results);
                return state.code;
            });
        });
    }
    return refuse(ulk::eInsufficientResources);
}

/// The tables of every object that a client can reach; for the start-up trace and the tests.
std::span<const std::span<const Method>> AllMethodTables() noexcept;

} // namespace tfs::service::rpc
