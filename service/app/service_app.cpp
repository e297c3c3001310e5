// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app/folders.h>
#include <service/app/service_app.h>
#include <service/app/settings_events.h>
#include <service/settings/policy_folder.h>

#include <exception>
#include <unistd.h>
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
                         {m_paths.privateFolder, 0700},           {FolderOf(m_paths.taskStateFile), 0700}};
    for (const auto& folder : folders)
        if (const result_t result = MakeFolder(folder.path, folder.mode); !ULK_SUCCEEDED(result)) {
            problem = "can't make " + folder.path + ": " + std::string(ulk::ResultText(result));
            return result;
        }
    return ulk::sOk;
}

/// The service itself needs none of these.
void ServiceApp::MakeUserFolders() {
    for (const std::string& folder : {m_paths.userTraceFolder, m_paths.userDumpFolder})
        if (const result_t result = MakeSharedFolder(folder); !ULK_SUCCEEDED(result)) {
            ULK_TRACE(Tracer(), ulk::level::Failure)
                << "can't make " << folder << " for the users: " << ulk::ResultText(result);
        }
}

void ServiceApp::LoadSettings() {
    settings::LoadedSettings loaded = settings::LoadSettings(m_paths.configuration);
    m_settingsProblem = loaded.problem;
    m_settings = std::make_unique<settings::SettingsStore>(
        settings::SettingsStore::Options{m_paths.configuration, m_paths.statement, m_tracer.Locator()},
        std::move(loaded));
    m_settings->SetPolicy(settings::ReadPolicyFolder(m_tracer.Locator().Get(), m_paths.policyFolder, PolicyOwner()));
    m_atStart = m_settings->Current();
}

uid_t ServiceApp::PolicyOwner() const noexcept { return m_options.developmentRun ? ::geteuid() : 0; }

void ServiceApp::OpenTracer(std::string& problem) {
    const std::string folder = m_paths.root + AtStart().traceFolder;
    (void)MakeFolder(folder, 0700);
    if (!ULK_SUCCEEDED(m_tracer.Open(m_paths.libraryFolder, problem)))
        return;
    if (const result_t result = m_tracer.Configure(m_paths.root, AtStart()); !ULK_SUCCEEDED(result))
        problem = "no trace can be written in " + folder + ": " + std::string(ulk::ResultText(result));
}

void ServiceApp::MakeAreas() {
    store::EventBus::Options events;
    events.databasePath = m_paths.root + AtStart().eventsStoragePath;
    events.maxEvents = AtStart().maxEventsNumber;
    (void)MakeFolder(FolderOf(events.databasePath), 0700); // without a database events live in the feed
    m_events = std::make_unique<store::EventBus>(std::move(events), m_tracer.Get());
    m_events->Start();
    m_feeds = std::make_unique<FeedTee>(*m_events);
    m_systemLog = std::make_unique<SystemLogForwarder>(
        m_feeds->Second(), m_options.systemLog ? m_options.systemLog : std::make_shared<SystemLog>());
    m_systemLog->SetEnabled(AtStart().useSyslog);
    m_bases = std::make_unique<update::UpdateArea>(m_paths.basesFolder, m_paths.seedBasesFolder);
    m_scanner = std::make_unique<ScannerHost>(DescribeScanner(), *m_bases, *m_events, m_tracer.Get());
    m_storageClock = std::make_unique<tasks::SystemWallClock>();
    m_storage = std::make_unique<storage::StorageArea>(FolderOf(m_paths.taskStateFile) + "objects/",
                                                       LimitsOf(AtStart()), *m_events, *m_storageClock, m_tracer.Get());
    m_tasks = std::make_unique<tasks::TaskRegistry>(DescribeTasks(), MakeFactories(), *m_events, m_tracer.Get());
    m_clock = std::make_unique<tasks::SystemWallClock>();
    m_scheduler = std::make_unique<tasks::Scheduler>(*m_clock, *m_tasks);
    m_tasks->SetScheduleChanged([this] { m_scheduler->Wake(); });
    m_infoClock = std::make_unique<tasks::SystemWallClock>();
    m_info = std::make_unique<app_info::AppInfoKeeper>(
        DescribeInfo(), *m_infoClock, [this] { return AskScanner(); }, *m_events, m_tracer.Get());
    m_scanner->SetStateChanged([this] { m_info->Wake(); });
    m_api = std::make_unique<ApiFacade>(*m_settings, *m_scanner, *m_bases, *m_info, *m_tasks);
    m_blockingApi = std::make_unique<BlockingFacade>(*m_settings, *m_events, *m_tasks);
    m_backupApi = std::make_unique<BackupFacade>(*m_settings, *m_storage);
}

void ServiceApp::FollowSettings() {
    m_effects = std::make_unique<SettingsEffects>(
        m_paths.root, SettingsEffects::Areas{*m_settings, m_tracer, *m_events, *m_tasks, *m_systemLog, *m_storage});
    if (!m_settingsProblem.empty()) {
        ULK_TRACE(Tracer(), ulk::level::Failure) << m_settingsProblem << "; defaults are in force";
        m_events->Publish(MakeSettingsNotUsed(m_paths.configuration, m_settingsProblem));
    }
    m_settings->Listen([this](const settings::SettingsChange& change) { m_effects->OnChange(change); });
    m_policy = std::make_unique<settings::PolicyWatcher>(
        m_paths.policyFolder, PolicyOwner(), m_tracer.Locator(),
        [this](const settings::Policy& policy) { m_effects->OnPolicy(policy); });
    m_policy->Start();
}

result_t ServiceApp::Start(std::string& problem) {
    m_failure.store(ulk::sOk);
    try {
        if (const result_t result = MakeFolders(problem); !ULK_SUCCEEDED(result))
            return result;
        if (const result_t result = m_lock.Acquire(m_paths.lock); !ULK_SUCCEEDED(result)) {
            problem = result == ulk::eLocked
                          ? "already running (" + m_paths.lock + " is locked)"
                          : "can't lock " + m_paths.lock + ": " + std::string(ulk::ResultText(result));
            return result;
        }
        LoadSettings();
        std::string noTrace;
        OpenTracer(noTrace);
        MakeUserFolders();
        MakeAreas();

        Event started;
        started.type = types::EventName::ApplicationStarted;
        m_events->Publish(std::move(started));
        FollowSettings();
        m_storage->Start();
        m_tasks->Load();
        m_info->Start();
        m_scanner->Start();
        m_tasks->StartLasting();

        m_rpc = std::make_unique<rpc::RpcServer>(
            DescribeServer(), *m_api, rpc::BlockingApis{*m_blockingApi, m_backupApi.get()}, m_feeds->First(), Tracer());
        const result_t result = m_rpc->Start();
        problem = ULK_SUCCEEDED(result) ? noTrace
                                        : "can't serve " + m_paths.socket + ": " + std::string(ulk::ResultText(result));
        if (ULK_SUCCEEDED(result))
            m_scheduler->Start();
        else
            Stop();
        return result;
    } catch (const std::exception& e) {
        problem = e.what();
        Stop();
        return ulk::eUnspecified;
    }
}

rpc::RpcServerOptions ServiceApp::DescribeServer() {
    rpc::RpcServerOptions options;
    options.socketPath = m_paths.socket;
    options.adminGroup = m_options.adminGroup;
    options.developmentRun = m_options.developmentRun;
    options.onFailure = [this](result_t result) {
        m_failure.store(result);
        if (m_options.onFailure)
            m_options.onFailure();
    };
    return options;
}

scan::ScannerConfig ServiceApp::DescribeScanner() const {
    scan::ScannerConfig config;
    config.program = m_paths.scannerProgram;
    config.cacheFile = FolderOf(m_paths.taskStateFile) + "clean-files";
    config.maxWorkers = m_settings->AtStart().scannerWorkers;
    config.fileTimeLimitMs = m_settings->AtStart().fileTimeLimitSeconds * 1000;
    return config;
}

tasks::TaskRegistry::Options ServiceApp::DescribeTasks() const {
    tasks::TaskRegistry::Options options;
    options.stateFile = m_paths.taskStateFile;
    options.fullScanAreas = m_settings->AtStart().scanScope;
    if (!m_paths.root.empty()) // a development run leaves the machine alone
        options.monitoredAreas = {m_paths.root};
    options.rules = RulesOf(*m_atStart);
    return options;
}

app_info::AppInfoKeeper::Options ServiceApp::DescribeInfo() const {
    app_info::AppInfoKeeper::Options options;
    options.scannerProgram = m_paths.scannerProgram;
    options.update.programs = {m_paths.serviceProgram, m_paths.scannerProgram};
    options.update.libraryFolder = m_paths.libraryFolder;
    // A development run asks the package manager of its own root, where mostly there is none.
    options.update.packages.root = m_paths.root;
    return options;
}

app_info::ScannerFacts ServiceApp::AskScanner() const {
    const scan::ScannerState state = m_scanner->State();
    return {state.loaded, FileTimeTicks(state.basesDate), state.process};
}

std::vector<std::string> ServiceApp::ScanExclusions() const {
    std::vector<std::string> exclusions = m_settings->AtStart().scanExclusions;
    // The signatures hold what they look for, and what the service keeps apart is not to be found again.
    for (const std::string& own : {m_paths.basesFolder, m_paths.seedBasesFolder, m_paths.privateFolder})
        exclusions.push_back(WithoutSlash(own));
    return exclusions;
}

realtime::RealtimeSetup ServiceApp::DescribeProtection() const {
    realtime::RealtimeSetup setup;
    setup.exclusions = ScanExclusions();
    // Only root writes there, and who calls for help by our programs must not wait for himself.
    setup.exclusions.push_back(WithoutSlash(FolderOf(WithoutSlash(m_paths.libraryFolder))));
    setup.keeper = m_storage.get();
    setup.ownPrograms = {"/proc/self/exe", m_paths.scannerProgram, m_bases->Config().programs.freshclam};
    return setup;
}

tasks::RunFactories ServiceApp::MakeFactories() {
    m_scans = std::make_unique<tasks::ScanRunFactory>(*m_scanner, ScanExclusions(), m_storage.get());
    m_updates = std::make_unique<update::UpdateRunFactory>(*m_bases, *m_scanner);
    m_rollbacks = std::make_unique<update::RollbackRunFactory>(*m_bases, *m_scanner);
    m_realtime = std::make_unique<realtime::RealtimeRunFactory>(*m_scanner, DescribeProtection());
    tasks::RunFactories factories{{task_type::OAS, m_realtime.get()},
                                  {task_type::ODS, m_scans.get()},
                                  {task_type::BootScan, m_scans.get()},
                                  {task_type::MemoryScan, m_scans.get()},
                                  {task_type::Rollback, m_rollbacks.get()}};
    if (::access(m_bases->Config().programs.freshclam.c_str(), X_OK) == 0)
        factories.emplace(task_type::Update, m_updates.get());
    return factories;
}

void ServiceApp::Stop() noexcept {
    if (m_policy)
        m_policy->Stop();
    if (m_scheduler)
        m_scheduler->Stop();
    if (m_info)
        m_info->Stop();
    if (m_tasks)
        m_tasks->Shutdown();
    if (m_storage) // before the server, whose helpers may be restoring
        m_storage->Stop();
    if (m_events && m_rpc) {
        try {
            Event stopped;
            stopped.type = types::EventName::ApplicationStopped;
            stopped.Add(types::AdditionalName::ApplicationStopReason,
                        static_cast<std::uint32_t>(ULK_SUCCEEDED(Failure()) ? types::ApplicationStopReason::NormalExit
                                                                            : types::ApplicationStopReason::Crash));
            m_events->Publish(std::move(stopped));
        } catch (const std::exception&) { // memory is short; stopping goes on
        }
    }
    if (m_rpc)
        m_rpc->Stop();
    m_rpc.reset();
    m_policy.reset();
    m_effects.reset();
    m_backupApi.reset();
    m_blockingApi.reset();
    m_api.reset();
    if (m_scanner)
        m_scanner->Stop();
    m_info.reset();
    m_infoClock.reset();
    m_scheduler.reset();
    m_clock.reset();
    m_tasks.reset();
    m_rollbacks.reset();
    m_updates.reset();
    m_realtime.reset();
    m_scans.reset();
    m_storage.reset();
    m_storageClock.reset();
    m_scanner.reset();
    m_bases.reset();
    m_systemLog.reset();
    m_feeds.reset();
    if (m_events)
        m_events->Stop();
    m_events.reset();
    m_settings.reset();
    if (Tracer() != nullptr)
        Tracer()->Flush();
    m_lock.Release();
}

} // namespace tfs::service::app
