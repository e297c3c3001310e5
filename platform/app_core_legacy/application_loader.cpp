// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/app_core/tracer_service.h>
#include <contract/remoting.h>
#include <foundation/module.h>
#include <foundation/result.h>
#include <foundation/string16.h>
#include <platform/app_core_legacy/application_loader.h>
#include <platform/app_core_legacy/crash_handler.h>
#include <platform/app_core_legacy/module_store.h>
#include <platform/app_core_legacy/root_locator.h>
#include <platform/app_core_legacy/services.h>

#include <iostream>
#include <memory>
#include <new>
#include <string>

namespace platform::app_core_legacy {
namespace {

using namespace app_core::loader;

ulk::Ptr<ulk::ITracer> MakeTracer(ModuleStore& modules, const TracerSettings& settings) {
    const std::string path = ulk::text::ToUtf8Lossy(settings.modulePath);
    std::string error;
    void* made = nullptr;
    if (ULK_FAILED(modules.CreateObject(path, app_core::TracerClass, nullptr, ulk::ITracer::Iid, &made, error)))
        return ulk::Ptr<ulk::ITracer>::Adopt(new SilentTracer());
    auto tracer = ulk::Ptr<ulk::ITracer>::Adopt(static_cast<ulk::ITracer*>(made));
    void* found = nullptr;
    if (ULK_SUCCEEDED(tracer->QueryInterface(app_core::ITracerConfigurator::Iid, &found))) {
        const auto configurator =
            ulk::Ptr<app_core::ITracerConfigurator>::Adopt(static_cast<app_core::ITracerConfigurator*>(found));
        // The tracer is silent now, and so the only place left to say why is here.
        if (const result_t result = configurator->Configure(settings); ULK_FAILED(result))
            std::cerr << "Cannot write a trace in " << ulk::text::ToUtf8Lossy(settings.folder) << ": "
                      << ulk::ResultText(result) << std::endl;
    }
    return tracer;
}

/// The transport lies beside the tracer's module.
std::string RemotingPath(const TracerSettings& settings) {
    const std::string tracerPath = ulk::text::ToUtf8Lossy(settings.modulePath);
    const std::size_t slash = tracerPath.rfind('/');
    return slash == std::string::npos ? std::string() : tracerPath.substr(0, slash + 1) + "libremoting.so";
}

/// What lives for one run. Members go in reverse order.
class RunScope {
public:
    RunScope(const TracerSettings& settings, const CrashDumpSettings& crashDumps)
        : m_crashHandler(crashDumps), m_modules(std::make_shared<ModuleStore>()),
          m_locator(ulk::Ptr<RootLocator>::Adopt(new RootLocator(m_modules))) {
        const auto allocator = ulk::Ptr<MallocAllocator>::Adopt(new MallocAllocator());
        (void)m_locator->AddObject<ulk::IAllocator>(allocator.Get());
        m_tracer = MakeTracer(*m_modules, settings);
        (void)m_locator->AddObject<ulk::ITracer>(m_tracer.Get());
        if (crashDumps.limit != 0 && !m_crashHandler.IsInstalled()) {
            ULK_TRACE(m_tracer.Get(), ulk::level::Failure)
                << "No crash dump can be written in " << ulk::text::ToUtf8Lossy(crashDumps.folder);
        }
        if (const std::string remoting = RemotingPath(settings); !remoting.empty()) {
            (void)m_locator->AddClass(ulk::remoting::IConnectionFactory::Iid, remoting,
                                      ulk::remoting::ConnectionFactoryClass);
            (void)m_locator->AddClass(ulk::remoting::ITransportService::Iid, remoting,
                                      ulk::remoting::TransportServiceClass);
        }
    }
    ~RunScope() {
        m_locator->Clear();
        m_tracer->Flush();
    }
    RunScope(const RunScope&) = delete;
    RunScope& operator=(const RunScope&) = delete;

    result_t Call(IApplicationController* application) {
        const auto reporter = ulk::Ptr<StateReporter>::Adopt(new StateReporter(m_tracer.Get()));
        const auto infrastructure = ulk::Ptr<InfrastructureLoader>::Adopt(new InfrastructureLoader(m_locator.Get()));
        return application->Run(infrastructure.Get(), reporter.Get());
    }

private:
    CrashHandler m_crashHandler;
    std::shared_ptr<ModuleStore> m_modules;
    ulk::Ptr<RootLocator> m_locator;
    ulk::Ptr<ulk::ITracer> m_tracer;
};

} // namespace

result_t ApplicationLoader::Run(const TracerSettings& tracer, std::uint32_t mode, const CrashDumpSettings& crashDumps,
                                const ulk::types::string16_t*, IApplicationController* application) noexcept {
    if (application == nullptr || mode != RunModeForeground)
        return ulk::eInvalidArgument;
    try {
        RunScope run(tracer, crashDumps);
        return run.Call(application);
    } catch (const std::bad_alloc&) {
        return ulk::eOutOfMemory;
    } catch (...) {
        return ulk::eUnspecified;
    }
}

} // namespace platform::app_core_legacy
