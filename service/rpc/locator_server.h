// SPDX-License-Identifier: GPL-2.0-or-later
// The bootstrap object of a connection.
#pragma once

#include <service/rpc/connection_context.h>
#include <service/rpc/method.h>
#include <wire/tesl.capnp.h>

#include <cstdint>
#include <map>

namespace tfs::service::rpc {

/// Hands out the service's objects, each of them once for a connection: however often a client asks, it holds one
/// capability of each. On the loop's thread.
class LocatorObject final : public ServiceObject {
public:
    explicit LocatorObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller), m_context(context) {}
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::Locator;
    result_t Hello(Schema::HelloParams::Reader params, Schema::HelloResults::Builder results);
    result_t Ping(Schema::PingParams::Reader params, Schema::PingResults::Builder results);
    result_t GetInterface(Schema::GetInterfaceParams::Reader params, Schema::GetInterfaceResults::Builder results);

    const std::shared_ptr<ConnectionContext> m_context;
    bool m_greeted = false;
    std::map<std::uint32_t, capnp::Capability::Client> m_objects;
};

} // namespace tfs::service::rpc
