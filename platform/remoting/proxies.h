// SPDX-License-Identifier: GPL-2.0-or-later
// The proxies, one for each interface that the service offers.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/backup.h>
#include <contract/tfs/event_query.h>
#include <contract/tfs/settings.h>
#include <contract/tfs/tasks.h>
#include <platform/remoting/proxy.h>

namespace ulk::remoting {

class AppInfoProviderProxy final : public Proxy<tfs::IAppInfoProvider, tfs::wire::schema::AppInfoProvider> {
public:
    using Proxy::Proxy;
    result_t GetAppInfo(tfs::AppInfo& appInfo) override;
};

class AppSettingsHandlerProxy final : public Proxy<tfs::IAppSettingsHandler, tfs::wire::schema::AppSettingsHandler> {
public:
    using Proxy::Proxy;
    result_t GetAppSettings(types::any_struct_t& holder) override;
    result_t SetAppSettings(const tfs::settings::SettingsChangeList& changes,
                            types::vector_t<tfs::settings::ValidationMessage>& messages, bool acceptTsn) override;
};

class PolicyProviderProxy final : public Proxy<tfs::IPolicyProvider, tfs::wire::schema::PolicyProvider> {
public:
    using Proxy::Proxy;
    result_t CanBeStarted(const types::string16_t& taskName, bool& allowed) override;
    result_t IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) override;
    result_t CanBeStopped(const types::string16_t& taskName, bool& allowed) override;
};

class PolicyManagerProxy final : public Proxy<tfs::IPolicyManager, tfs::wire::schema::PolicyManager> {
public:
    using Proxy::Proxy;
    result_t GetPolicy(tfs::PolicyState& state) override;
};

class TaskManagerProxy final : public Proxy<tfs::ITfsTaskManager, tfs::wire::schema::TaskManager> {
public:
    using Proxy::Proxy;
    result_t GetTaskList(types::vector_t<tfs::core::TaskInfo>& tasks) override;
    result_t GetStatistics(types::vector_t<tfs::OxsStatistic>& statistics) override;
    result_t GetStatistic(const types::string16_t& taskName, tfs::OxsStatistic& statistics) override;
    result_t GetOdsStatistics(tfs::ScanStatistic& statistic) override;
    result_t StartTask(const types::string16_t& idOrName) override;
    result_t StopTask(const types::string16_t& idOrName) override;
    result_t PauseTask(const types::string16_t& idOrName) override;
    result_t ResumeTask(const types::string16_t& idOrName) override;
    result_t DeleteTask(const types::string16_t& taskName) override;
    result_t DeleteStatistic(const tfs::OxsStatistic& statistics) override;
    result_t GetSchedule(const types::string16_t& taskName, tfs::TaskSchedule& schedule) override;
    result_t GetTaskInfo(const types::string16_t& idOrName, tfs::core::TaskInfo& task) override;
    result_t CreateScanTask(const tfs::ScanSettings& settings, tfs::core::TaskInfo& task) override;
    result_t GetProgress(const types::string16_t& idOrName, tfs::TaskProgress& progress) override;
    result_t GetTaskSettings(const types::string16_t& idOrName, tfs::settings::SettingsChangeList& settings) override;
    result_t SetTaskSettings(const types::string16_t& idOrName, const tfs::settings::SettingsChangeList& changes,
                             bool toDefault, types::vector_t<tfs::settings::ValidationMessage>& messages) override;
    result_t SetSchedule(const types::string16_t& idOrName, const tfs::settings::SettingsChangeList& changes,
                         bool toDefault, types::vector_t<tfs::settings::ValidationMessage>& messages) override;
};

class EventStorerProxy final : public Proxy<tfs::IEventStorer, tfs::wire::schema::EventStorer> {
public:
    using Proxy::Proxy;
    result_t GetEventCount(std::uint64_t& count) override;
    result_t GetOldestEvent(tfs::Event& event) override;
    result_t GetEvent(tfs::Event::IdType id, tfs::Event& event) override;
    /// Fetches page after page, each within the call's deadline.
    result_t QueryEvents(const tfs::EventQuery& query, types::vector_t<tfs::Event>& events) override;

private:
    struct Cursor;
    struct Page;
    /// Replaces the page by the one behind it.
    result_t QueryPage(const tfs::EventQuery& query, Page& page);
};

class BackupManagerProxy final : public Proxy<tfs::ITfstBackupManager, tfs::wire::schema::BackupManager> {
public:
    using Proxy::Proxy;
    /// Fetches page after page, each within the call's deadline.
    result_t Query(const tfs::QueryFilter& filter, tfs::BackupItems& items) override;
    /// This and Restore have the deadline of long calls: they move files.
    result_t Remove(const tfs::QueryFilter& filter) override;
    result_t Restore(tfs::BackupId id) override;

private:
    struct Page;
    /// Replaces the page by the one behind it.
    result_t QueryPage(const tfs::QueryFilter& filter, Page& page);
};

class BackupConfiguratorProxy final : public Proxy<tfs::ITfsBackupConfigurator, tfs::wire::schema::BackupConfigurator> {
public:
    using Proxy::Proxy;
    result_t GetSettings(tfs::settings::BackupSettings& backupSettings) override;
};

/// Subscriptions belong to the connection and not to the proxy: any of a connection's proxies may end one.
class EventSubscriberProxy final : public Proxy<tfs::IEventSubscriber, tfs::wire::schema::EventSubscriber> {
public:
    using Proxy::Proxy;
    /// eAlreadyDone where the receiver has a subscription.
    result_t Subscribe(tfs::IRemoteEventsReceiver* receiver, const tfs::EventFilter& filter) override;
    /// Returns when no OnEvent is running or will run. eNotReady where the connection is gone, with the same promise.
    result_t Unsubscribe(tfs::IRemoteEventsReceiver* receiver) override;
};

} // namespace ulk::remoting
