// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/rpc/event_hub.h>
#include <service/rpc/event_subscription.h>
#include <service/rpc/locator_server.h>
#include <service/rpc/objects.h>
#include <service/rpc/trace_caller.h>
#include <wire/text.h>

#include <algorithm>
#include <iterator>

namespace tfs::service::rpc {
namespace {

template <class Object>
capnp::Capability::Client Make(const std::shared_ptr<ConnectionContext>& context) {
    return kj::heap<Object>(context);
}

struct ObjectEntry {
    std::uint32_t iid;
    capnp::Capability::Client (*make)(const std::shared_ptr<ConnectionContext>&);
};

constexpr ObjectEntry Objects[] = {
    {IAppInfoProvider::Iid, &Make<AppInfoObject>},
    {IAppSettingsHandler::Iid, &Make<AppSettingsObject>},
    {IPolicyProvider::Iid, &Make<PolicyProviderObject>},
    {IPolicyManager::Iid, &Make<PolicyManagerObject>},
    {ITfsTaskManager::Iid, &Make<TaskManagerObject>},
    {IEventSubscriber::Iid, &Make<EventSubscriberObject>},
    {IEventStorer::Iid, &Make<EventStorerObject>},
    {ITfstBackupManager::Iid, &Make<BackupManagerObject>},
    {ITfsBackupConfigurator::Iid, &Make<BackupConfiguratorObject>},
};

/// A service without Storage has these not.
bool BelongsToStorage(std::uint32_t iid) noexcept {
    return iid == ITfstBackupManager::Iid || iid == ITfsBackupConfigurator::Iid;
}

} // namespace

std::span<const Method> LocatorObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Of<Schema, &LocatorObject::Hello>(0, "hello", Privilege::Anyone),
        Method::Of<Schema, &LocatorObject::Ping>(1, "ping", Privilege::Anyone),
        Method::Of<Schema, &LocatorObject::GetInterface>(2, "getInterface", Privilege::Anyone),
    };
    return Table;
}

result_t LocatorObject::Hello(Schema::HelloParams::Reader params, Schema::HelloResults::Builder results) {
    results.setVersion(wire::ProtocolVersion);
    if (params.getVersion() != wire::ProtocolVersion)
        return ulk::eInvalidVersion;
    if (!ULK_SUCCEEDED(m_context->admission))
        return m_context->admission;
    if (m_context->connection == nullptr)
        return ulk::eNotReady;
    if (!m_greeted)
        TraceCaller(*m_context, "greets as", wire::ReadBytes(params.getProgram()));
    m_greeted = true;
    m_context->connection->Greeted();
    return ulk::sOk;
}

result_t LocatorObject::Ping(Schema::PingParams::Reader, Schema::PingResults::Builder) {
    return m_greeted ? ulk::sOk : ulk::eInvalidState;
}

result_t LocatorObject::GetInterface(Schema::GetInterfaceParams::Reader params,
                                     Schema::GetInterfaceResults::Builder results) {
    if (!m_greeted)
        return ulk::eInvalidState;
    const std::uint32_t iid = params.getId();
    auto known = m_objects.find(iid);
    if (known == m_objects.end()) {
        const auto entry = std::find_if(std::begin(Objects), std::end(Objects),
                                        [iid](const ObjectEntry& candidate) { return candidate.iid == iid; });
        if (entry == std::end(Objects) || (BelongsToStorage(iid) && !m_context->blocking->Apis().HasBackup()))
            return ulk::eNoInterface;
        known = m_objects.emplace(iid, entry->make(m_context)).first;
    }
    results.setObject(known->second);
    return ulk::sOk;
}

std::span<const std::span<const Method>> AllMethodTables() noexcept {
    static const std::span<const Method> Tables[] = {
        LocatorObject::Methods(),
        AppInfoObject::Methods(),
        AppSettingsObject::Methods(),
        PolicyProviderObject::Methods(),
        PolicyManagerObject::Methods(),
        TaskManagerObject::Methods(),
        EventSubscriberObject::Methods(),
        SubscriptionObject::Methods(),
        EventStorerObject::Methods(),
        BackupManagerObject::Methods(),
        BackupConfiguratorObject::Methods(),
    };
    return Tables;
}

} // namespace tfs::service::rpc
