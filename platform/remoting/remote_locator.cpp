// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/proxies.h>
#include <platform/remoting/remote_locator.h>

#include <algorithm>
#include <iterator>
#include <new>

namespace ulk::remoting {
namespace {

template <class ProxyClass, class Contract>
void* Make(std::shared_ptr<ConnectionCore> core) {
    return static_cast<Contract*>(new ProxyClass(std::move(core)));
}

struct ProxyEntry {
    iid_t iid;
    void* (*make)(std::shared_ptr<ConnectionCore>);
};

constexpr ProxyEntry Proxies[] = {
    {tfs::IAppInfoProvider::Iid, &Make<AppInfoProviderProxy, tfs::IAppInfoProvider>},
    {tfs::IAppSettingsHandler::Iid, &Make<AppSettingsHandlerProxy, tfs::IAppSettingsHandler>},
    {tfs::IPolicyProvider::Iid, &Make<PolicyProviderProxy, tfs::IPolicyProvider>},
    {tfs::IPolicyManager::Iid, &Make<PolicyManagerProxy, tfs::IPolicyManager>},
    {tfs::ITfsTaskManager::Iid, &Make<TaskManagerProxy, tfs::ITfsTaskManager>},
    {tfs::IEventStorer::Iid, &Make<EventStorerProxy, tfs::IEventStorer>},
    {tfs::ITfstBackupManager::Iid, &Make<BackupManagerProxy, tfs::ITfstBackupManager>},
    {tfs::ITfsBackupConfigurator::Iid, &Make<BackupConfiguratorProxy, tfs::ITfsBackupConfigurator>},
    {tfs::IEventSubscriber::Iid, &Make<EventSubscriberProxy, tfs::IEventSubscriber>},
};

} // namespace

result_t RemoteLocator::GetInterface(iid_t iid, std::uint32_t reserved, void** out) noexcept {
    if (out == nullptr)
        return eInvalidArgument;
    *out = nullptr;
    if (reserved != 0)
        return eInvalidArgument;
    const auto entry = std::find_if(std::begin(Proxies), std::end(Proxies),
                                    [iid](const ProxyEntry& candidate) { return candidate.iid == iid; });
    if (entry == std::end(Proxies))
        return eNoInterface;
    if (const result_t result = m_core->Resolve(iid); !ULK_SUCCEEDED(result))
        return result;
    try {
        *out = entry->make(m_core);
        return sOk;
    } catch (const std::bad_alloc&) {
        return eOutOfMemory;
    }
}

} // namespace ulk::remoting
