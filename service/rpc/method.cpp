// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/method.h>

#include <kj/exception.h>

namespace tfs::service::rpc {

ServiceObject::DispatchCallResult ServiceObject::dispatchCall(std::uint64_t interfaceId, std::uint16_t methodId,
                                                              Context context) {
    for (const Method& method : m_methods)
        if (method.InterfaceId() == interfaceId && method.Ordinal() == methodId)
            return {kj::evalNow([&] { return method.Call(*this, context); }), false};
    return internalUnimplemented("service", interfaceId, methodId);
}

void RequireSendable(std::uint64_t words) {
    if (words * sizeof(capnp::word) + wire::EnvelopeSize > wire::ReplySizeLimit)
        kj::throwFatalException(wire::AnswerTooLarge());
}

} // namespace tfs::service::rpc
