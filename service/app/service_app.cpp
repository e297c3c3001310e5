// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/folders.h>
#include <service/app/service_app.h>

#include <exception>
#include <utility>

namespace tfs::service::app {
namespace {

std::string WithoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

} // namespace

ServiceApp::ServiceApp(ServicePaths paths, ServiceOptions options)
    : m_paths(std::move(paths)), m_options(std::move(options)) {}

ServiceApp::~ServiceApp() { Stop(); }

result_t ServiceApp::MakeFolders(std::string& problem) {
    struct {
        std::string path;
        mode_t mode;
    } const folders[] = {{FolderOf(m_paths.lock), 0755},          {FolderOf(m_paths.socket), 0755},
                         {FolderOf(m_paths.configuration), 0755}, {m_paths.basesFolder, 0755},
                         {m_paths.privateFolder, 0700},           {FolderOf(m_paths.eventDatabase), 0700},
                         {FolderOf(m_paths.taskStateFile), 0700}, {m_paths.logFolder, 0700}};
    for (const auto& folder : folders)
        if (const result_t result = MakeFolder(folder.path, folder.mode); !ULK_SUCCEEDED(result)) {
            problem = "can't make " + folder.path + ": " + std::string(ulk::ResultText(result));
            return result;
        }
    return ulk::sOk;
}

result_t ServiceApp::Start(std::string& problem) {
    try {
        if (const result_t result = MakeFolders(problem); !ULK_SUCCEEDED(result))
            return result;
        if (const result_t result = m_lock.Acquire(m_paths.lock); !ULK_SUCCEEDED(result)) {
            problem = result == ulk::eLocked
                          ? "already running (" + m_paths.lock + " is locked)"
                          : "can't lock " + m_paths.lock + ": " + std::string(ulk::ResultText(result));
            return result;
        }
        m_settings = settings::LoadSettings(m_paths.configuration);
        std::string noTrace;
        m_tracer.Open(m_paths.libraryFolder, m_paths.logFolder, m_settings.settings.traceLevel, noTrace);

        m_events = std::make_unique<store::EventBus>(store::EventBus::Options{m_paths.eventDatabase}, m_tracer.Get());
        m_events->Start();
        m_scanner =
            std::make_unique<ScannerHost>(DescribeScanner(), m_paths.seedBasesFolder, *m_events, m_tracer.Get());
        m_tasks = std::make_unique<tasks::TaskRegistry>(DescribeTasks(), *m_scanner, *m_events, m_tracer.Get());
        m_api = std::make_unique<ApiFacade>(m_settings.settings, *m_scanner, *m_tasks);

        Event started;
        started.type = types::EventName::ApplicationStarted;
        m_events->Publish(std::move(started));
        TellAboutSettings();
        m_tasks->Load();
        m_scanner->Start();

        rpc::RpcServerOptions serverOptions;
        serverOptions.socketPath = m_paths.socket;
        serverOptions.adminGroup = m_options.adminGroup;
        serverOptions.developmentRun = m_options.developmentRun;
        m_rpc = std::make_unique<rpc::RpcServer>(std::move(serverOptions), *m_api, *m_events, Tracer());
        const result_t result = m_rpc->Start();
        problem = ULK_SUCCEEDED(result) ? noTrace
                                        : "can't serve " + m_paths.socket + ": " + std::string(ulk::ResultText(result));
        if (!ULK_SUCCEEDED(result))
            Stop();
        return result;
    } catch (const std::exception& e) {
        problem = e.what();
        Stop();
        return ulk::eUnspecified;
    }
}

void ServiceApp::TellAboutSettings() {
    if (m_settings.problem.empty())
        return;
    ULK_TRACE(Tracer(), ulk::level::Failure) << m_settings.problem << "; defaults are in force";
    Event event;
    event.type = types::EventName::IntegrityCheckFailed;
    event.severity = types::EventSeverity::High;
    event.Add(types::AdditionalName::Path, m_paths.configuration);
    event.Add(types::AdditionalName::Information, m_settings.problem);
    m_events->Publish(std::move(event));
}

scan::ScannerConfig ServiceApp::DescribeScanner() const {
    scan::ScannerConfig config;
    config.program = m_paths.scannerProgram;
    config.basesFolder = m_paths.basesFolder;
    config.maxWorkers = m_settings.settings.scannerWorkers;
    config.fileTimeLimitMs = m_settings.settings.fileTimeLimitSeconds * 1000;
    return config;
}

tasks::TaskRegistry::Options ServiceApp::DescribeTasks() const {
    tasks::TaskRegistry::Options options;
    options.stateFile = m_paths.taskStateFile;
    options.fullScanAreas = m_settings.settings.scanScope;
    options.exclusions = m_settings.settings.scanExclusions;
    // The signatures hold what they look for, and what the service keeps apart is not to be found again.
    for (const std::string& own : {m_paths.basesFolder, m_paths.seedBasesFolder, m_paths.privateFolder})
        options.exclusions.push_back(WithoutSlash(own));
    options.allowUserManageLocalTasks = m_settings.settings.allowUserManageLocalTasks;
    return options;
}

void ServiceApp::Stop() noexcept {
    if (m_tasks)
        m_tasks->Shutdown();
    if (m_events && m_rpc) {
        try {
            Event stopped;
            stopped.type = types::EventName::ApplicationStopped;
            stopped.Add(types::AdditionalName::ApplicationStopReason,
                        static_cast<std::uint32_t>(types::ApplicationStopReason::NormalExit));
            m_events->Publish(std::move(stopped));
        } catch (const std::exception&) { // memory is short; stopping goes on
        }
    }
    if (m_rpc)
        m_rpc->Stop();
    m_rpc.reset();
    m_api.reset();
    if (m_scanner)
        m_scanner->Stop();
    m_tasks.reset();
    m_scanner.reset();
    if (m_events)
        m_events->Stop();
    m_events.reset();
    if (Tracer() != nullptr)
        Tracer()->Flush();
    m_lock.Release();
}

} // namespace tfs::service::app
