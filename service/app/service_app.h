// SPDX-License-Identifier: GPL-2.0-or-later
// The application object: owns the areas, starts them in order, stops them the other way round.
#pragma once

#include <service/app/api_facade.h>
#include <service/app/backup_facade.h>
#include <service/app/blocking_facade.h>
#include <service/app/feed_tee.h>
#include <service/app/instance_lock.h>
#include <service/app/scanner_host.h>
#include <service/app/service_paths.h>
#include <service/app/service_tracer.h>
#include <service/app/settings_effects.h>
#include <service/app/system_log.h>
#include <service/app_info/app_info_keeper.h>
#include <service/realtime/realtime_run_factory.h>
#include <service/rpc/rpc_server.h>
#include <service/settings/policy_watcher.h>
#include <service/settings/settings_store.h>
#include <service/storage/storage_area.h>
#include <service/store/event_bus.h>
#include <service/tasks/scan_run_factory.h>
#include <service/tasks/scheduler.h>
#include <service/tasks/task_registry.h>
#include <service/update/rollback_run.h>
#include <service/update/update_run.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace tfs::service::app {

struct ServiceOptions {
    std::string adminGroup = "tesl-admin";
    bool developmentRun = false; ///< the service's own user is an administrator too, and may lay down the policy
    std::shared_ptr<ISystemLog> systemLog; ///< null for the system's own
    /// Called on a thread of the service when it can't go on serving; it is to be stopped then. Must not throw.
    std::function<void()> onFailure;
};

/// Made, started, stopped and destroyed on one thread.
class ServiceApp {
public:
    ServiceApp(ServicePaths paths, ServiceOptions options);
    ~ServiceApp();
    ServiceApp(const ServiceApp&) = delete;
    ServiceApp& operator=(const ServiceApp&) = delete;

    /// Returns when the socket answers; signatures may load on after that. eLocked where another service runs. On
    /// failure `problem` is one line for people, and everything started is stopped again.
    result_t Start(std::string& problem);
    /// Stops tasks, tells so, writes the state, removes the socket. Safe to call twice.
    void Stop() noexcept;

    /// Why it can't go on; sOk as long as it can. Any thread.
    result_t Failure() const noexcept { return m_failure.load(); }

    /// Valid while started.
    rpc::IServiceApi& Api() noexcept { return *m_api; }
    rpc::IBlockingApi& BlockingApi() noexcept { return *m_blockingApi; }
    rpc::IBackupApi& BackupApi() noexcept { return *m_backupApi; }
    storage::IObjectKeeper& Keeper() noexcept { return *m_storage; }
    store::EventBus& Events() noexcept { return *m_events; }
    ulk::ITracer* Tracer() const noexcept { return m_tracer.Get().Get(); }

private:
    result_t MakeFolders(std::string& problem);
    void MakeUserFolders();
    void LoadSettings();
    uid_t PolicyOwner() const noexcept;
    void OpenTracer(std::string& problem);
    void MakeAreas();
    void FollowSettings();
    rpc::RpcServerOptions DescribeServer();
    const tfs::settings::AppSettings& AtStart() const noexcept { return m_atStart->application; }
    scan::ScannerConfig DescribeScanner() const;
    tasks::TaskRegistry::Options DescribeTasks() const;
    std::vector<std::string> ScanExclusions() const;
    realtime::RealtimeSetup DescribeProtection() const;
    tasks::RunFactories MakeFactories();
    app_info::AppInfoKeeper::Options DescribeInfo() const;
    app_info::ScannerFacts AskScanner() const;

    const ServicePaths m_paths;
    const ServiceOptions m_options;
    std::atomic<result_t> m_failure{ulk::sOk};
    InstanceLock m_lock;
    std::string m_settingsProblem;
    std::unique_ptr<settings::SettingsStore> m_settings;
    std::shared_ptr<const settings::EffectiveSettings> m_atStart;
    ServiceTracer m_tracer;
    std::unique_ptr<store::EventBus> m_events;
    std::unique_ptr<FeedTee> m_feeds;
    std::unique_ptr<SystemLogForwarder> m_systemLog;
    std::unique_ptr<update::UpdateArea> m_bases;
    std::unique_ptr<ScannerHost> m_scanner;
    std::unique_ptr<tasks::SystemWallClock> m_storageClock;
    std::unique_ptr<storage::StorageArea> m_storage;
    std::unique_ptr<tasks::ScanRunFactory> m_scans;
    std::unique_ptr<update::UpdateRunFactory> m_updates;
    std::unique_ptr<update::RollbackRunFactory> m_rollbacks;
    std::unique_ptr<realtime::RealtimeRunFactory> m_realtime;
    std::unique_ptr<tasks::TaskRegistry> m_tasks;
    std::unique_ptr<tasks::SystemWallClock> m_clock;
    std::unique_ptr<tasks::Scheduler> m_scheduler;
    std::unique_ptr<tasks::SystemWallClock> m_infoClock;
    std::unique_ptr<app_info::AppInfoKeeper> m_info;
    std::unique_ptr<ApiFacade> m_api;
    std::unique_ptr<BlockingFacade> m_blockingApi;
    std::unique_ptr<BackupFacade> m_backupApi;
    std::unique_ptr<SettingsEffects> m_effects;
    std::unique_ptr<settings::PolicyWatcher> m_policy;
    std::unique_ptr<rpc::RpcServer> m_rpc;
};

} // namespace tfs::service::app
