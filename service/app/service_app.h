// SPDX-License-Identifier: GPL-2.0-or-later
// The application object: owns the areas, starts them in order, stops them the other way round.
#pragma once

#include <service/app/api_facade.h>
#include <service/app/instance_lock.h>
#include <service/app/scanner_host.h>
#include <service/app/service_paths.h>
#include <service/app/service_tracer.h>
#include <service/rpc/rpc_server.h>
#include <service/settings/service_settings.h>
#include <service/store/event_bus.h>
#include <service/tasks/task_registry.h>

#include <memory>
#include <string>

namespace tfs::service::app {

struct ServiceOptions {
    std::string adminGroup = "tesl-admin";
    bool developmentRun = false; ///< the service's own user is an administrator too
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

    /// Valid while started.
    rpc::IServiceApi& Api() noexcept { return *m_api; }
    store::EventBus& Events() noexcept { return *m_events; }
    ulk::ITracer* Tracer() const noexcept { return m_tracer.Get().Get(); }

private:
    result_t MakeFolders(std::string& problem);
    void TellAboutSettings();
    scan::ScannerConfig DescribeScanner() const;
    tasks::TaskRegistry::Options DescribeTasks() const;

    const ServicePaths m_paths;
    const ServiceOptions m_options;
    InstanceLock m_lock;
    settings::LoadedSettings m_settings;
    ServiceTracer m_tracer;
    std::unique_ptr<store::EventBus> m_events;
    std::unique_ptr<ScannerHost> m_scanner;
    std::unique_ptr<tasks::TaskRegistry> m_tasks;
    std::unique_ptr<ApiFacade> m_api;
    std::unique_ptr<rpc::RpcServer> m_rpc;
};

} // namespace tfs::service::app
