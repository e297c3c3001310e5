// SPDX-License-Identifier: GPL-2.0-or-later
// The service's tracer, from the run-time module that the front end uses too.
#pragma once

#include <contract/app_core/tracer_service.h>
#include <contract/tfs/settings.h>
#include <foundation/module.h>
#include <foundation/trace.h>

#include <string>

namespace tfs::service::app {

/// Owns the module and the tracer in it; both go with it, so it outlives whoever traces.
class ServiceTracer {
public:
    ServiceTracer();
    ~ServiceTracer();
    ServiceTracer(const ServiceTracer&) = delete;
    ServiceTracer& operator=(const ServiceTracer&) = delete;

    /// On failure there is no tracer, `problem` says why, and the service goes on: it protects without a trace as
    /// well. The tracer is silent until it is configured.
    result_t Open(const std::string& libraryFolder, std::string& problem);
    /// Level, sizes and folder as the settings have it, `root` put before the folder. On failure the tracer is silent.
    /// sOk without a tracer. One thread at a time; others may be tracing.
    result_t Configure(const std::string& root, const tfs::settings::AppSettings& settings) noexcept;
    /// May be null.
    ulk::Ptr<ulk::ITracer> Get() const noexcept { return m_tracer; }
    /// Has the tracer for those who look services up; nothing before Open, nor after the end of this object.
    ulk::Ptr<ulk::IServiceLocator> Locator() const noexcept;

private:
    class TracerLocator;

    const ulk::Ptr<TracerLocator> m_locator;
    ulk::Module m_module;
    ulk::Ptr<ulk::ITracer> m_tracer;
    ulk::Ptr<app_core::ITracerConfigurator> m_configurator;
    std::string m_modulePath;
};

/// What the tracer's levels are for a setting; 0 for no trace.
int TracerLevel(types::TraceLevel::Type level) noexcept;

} // namespace tfs::service::app
