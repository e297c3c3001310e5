// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/product_paths.h>
#include <contract/remoting.h>
#include <control/application.h>
#include <control/command_context.h>
#include <control/run_command.h>
#include <control/stop_signals.h>
#include <foundation/module.h>
#include <foundation/objclient.h>
#include <remote/remote_client_initializer.h>
#include <tfs_common/config_data.h>

#include <cstdlib>
#include <unistd.h>

namespace tfs::control {

namespace {

using namespace app_core::loader;
using ulk::types::string16_t;

constexpr char TraceSwitch[] = "TFS_ENABLE_ALL_COMPONENTS_LOGGING";
constexpr char16_t TraceLineFormat[] = u"%Y.%m.%d %X\t%I\t%p\t";
constexpr std::uint64_t BytesPerSizeUnit = 1'000'000;

string16_t Wide(const std::string& text) { return ulk::text::Cast<string16_t>(std::string_view(text)); }

std::string ModuleFile(const char* name) { return ulk::ModulePath(Wide(paths::LibraryFolder), name); }

/// Silent but for the environment's switch: a command for scripts leaves no files behind by itself.
TracerSettings MakeTracerSettings(const loader::ConfigData& config) {
    TracerSettings settings;
    settings.enabled = std::getenv(TraceSwitch) != nullptr;
    settings.level = settings.enabled ? ulk::level::Finest : 0;
    settings.fileStem = Wide("tesl-control." + std::to_string(getpid()) + ".");
    settings.folder = config.logFolder;
    settings.fileSizeLimit = static_cast<std::uint64_t>(config.traceFileSizeLimit) * BytesPerSizeUnit;
    settings.fileCount = static_cast<std::uint32_t>(config.traceFileCount);
    settings.lineFormat = TraceLineFormat;
    settings.modulePath = Wide(ModuleFile("instrumental_services"));
    return settings;
}

/// Tells the user what a failure to connect means.
[[noreturn]] void FailToConnect(result_t result, const std::string& socketPath) {
    const std::string text = "The service cannot be reached at " + socketPath + ": ";
    if (result == ulk::eAccessDenied)
        throw Failure(ExitCode::Denied, text + "it does not serve this user.");
    if (result == ulk::eTimeout)
        throw Failure(ExitCode::Unavailable, text + "it does not answer.");
    if (result == ulk::eInvalidVersion)
        throw Failure(ExitCode::Unavailable, text + "what answers there is not this version of the service.");
    if (result == ulk::eNotReady || result == ulk::eFileNotFound)
        throw Failure(ExitCode::Unavailable, text + "it is not running.");
    throw Failure(ExitCode::Unavailable, text + std::string(ulk::ResultText(result)) + ".");
}

/// Shuts the transport down before the root locator goes.
class TransportGuard {
public:
    explicit TransportGuard(ulk::IServiceLocator* root) {
        ulk::Ptr<ulk::remoting::ITransportService> service;
        ThrowIfFailed(ulk::GetInterface(root, service.Ref()), "Cannot initialize the transport");
        ThrowIfFailed(ulk::GetInterface(service.Get(), m_transport.Ref()), "Cannot initialize the transport");
    }
    ~TransportGuard() { m_transport->Shutdown(); }
    TransportGuard(const TransportGuard&) = delete;
    TransportGuard& operator=(const TransportGuard&) = delete;

private:
    ulk::Ptr<ulk::remoting::ITransport> m_transport;
};

} // namespace

result_t Application::Configure() noexcept { return ulk::eNotImplemented; }

result_t Application::Run(IApplicationInfrastructureLoader* infrastructureLoader, IApplicationStateReporter*) noexcept {
    m_hasRun = true;
    try {
        m_code = RunCommand(*infrastructureLoader);
    } catch (...) {
        m_failure = std::current_exception();
    }
    return ulk::sOk;
}

result_t Application::Shutdown() noexcept { return ulk::sOk; }

ExitCode Application::RunCommand(IApplicationInfrastructureLoader& infrastructureLoader) {
    ulk::Ptr<ulk::IServiceLocator> root;
    ThrowIfFailed(infrastructureLoader.GetRootServiceLocator(root.Ref()), "Cannot get the root locator");
    const TransportGuard transport(root.Get());

    const std::shared_ptr<const loader::ConfigData> config = loader::LoadConfigData();
    remote::UlkRemoteClientInitializer client(root.Get());
    if (const result_t result = client.Initialize(*config); ULK_FAILED(result))
        FailToConnect(result, config->socketPath);
    const ulk::Ptr<ulk::IServiceLocator> remote(client.GetRemoteServiceLocator());
    if (!remote)
        FailToConnect(ulk::eNotReady, config->socketPath);

    CountStopSignals();
    const CommandContext context{
        remote.Get(),
        [&client] { return client.GetRemoteServiceLocator() != nullptr; },
        [] { return StopSignals(); },
        m_reporter,
        root.Get(),
    };
    return RunServiceCommand(m_line, context);
}

ExitCode Application::Result() const {
    if (m_failure)
        std::rethrow_exception(m_failure);
    if (!m_hasRun)
        throw Failure(ExitCode::Internal, "The run-time modules did not start the program.");
    return m_code;
}

ExitCode RunWithService(const CommandLine& line, IReporter& reporter) {
    const auto config = loader::LoadConfigData();
    ulk::Module module;
    const auto require = [&module](result_t result) {
        if (ULK_FAILED(result))
            throw Failure(ExitCode::Internal, "Cannot create application loader: " + module.ErrorText() + ".");
    };
    require(module.Load(ModuleFile("app_core_legacy")));
    ulk::Ptr<IApplicationLoader> applicationLoader;
    void* created = nullptr;
    require(module.CreateObject(ApplicationLoaderClass, nullptr, IApplicationLoader::Iid, &created));
    applicationLoader = ulk::Ptr<IApplicationLoader>::Adopt(static_cast<IApplicationLoader*>(created));

    const auto application = ulk::Ptr<Application>::Adopt(new Application(line, reporter));
    const result_t result = applicationLoader->Run(MakeTracerSettings(*config), RunModeForeground, CrashDumpSettings{},
                                                   nullptr, application.Get());
    applicationLoader.Reset();
    ThrowIfFailed(result, "The run-time modules failed");
    return application->Result();
}

} // namespace tfs::control
