// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/product_paths.h>
#include <contract/tfs/event.h>
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/accessibility/item_states.h>
#include <gui/common/localized_text.h>
#include <gui/qml/qml_resources.h>
#include <gui/qml_bootstrap.h>
#include <gui/signal_handlers.h>
#include <gui/signal_window.h>
#include <gui/start_ahead.h>
#include <gui/start_settings.h>
#include <gui/tesl_gui.h>
#include <gui/tools/screen_scale.h>
#include <gui/tools/window_reach.h>
#include <gui/window_icon.h>
#include <tfs_common/scoped_service_manager_initializer.h>

#include <QtGui/QFont>
#include <QtQml/QQmlApplicationEngine>
#include <QtQuick/QQuickWindow>
#include <QtQuick/QSGRendererInterface>
#include <QtQuickControls2/QQuickStyle>
#include <stdexcept>
#include <unistd.h>

Q_DECLARE_METATYPE(tfs::Event)

namespace tfs::gui {
namespace {

using app_core::loader::application_control_code;
using app_core::loader::application_state;

constexpr std::uint32_t StartingHintMs = 1000;
constexpr int SmallTextPixels = 13;
/// As in the pages' own sizes, which are read only later.
constexpr QSize MainWindowSize(735, 540);
constexpr char16_t SettingsName[] = u"tesl-gui_settings.kvdb";
constexpr char16_t StorageName[] = u"tesl-gui_storage.kvdb";
constexpr char16_t EventStoreName[] = u"tesl_gui.esm";

ulk::types::string16_t Text(std::string_view text) { return ulk::text::Cast<ulk::types::string16_t>(text); }

/// The tracer for Run's own reports, also of what fails before the application has obtained its tracer.
ulk::Ptr<ulk::ITracer> FindTracer(ulk::IServiceLocator* locator) {
    ulk::Ptr<ulk::ITracer> tracer;
    (void)ulk::GetInterface(locator, tracer.Ref());
    return tracer;
}

ulk::Ptr<ulk::ITracer> FindTracer(app_core::loader::IApplicationInfrastructureLoader* loader) {
    ulk::Ptr<ulk::IServiceLocator> locator;
    if (!ULK_SUCCEEDED(loader->GetRootServiceLocator(locator.Ref())))
        return nullptr;
    return FindTracer(locator.Get());
}

ulk::Ptr<ulk::remoting::ITransport> GetTransport(ulk::IServiceLocator* locator) {
    ulk::Ptr<ulk::remoting::ITransportService> service;
    ulk::Ptr<ulk::remoting::ITransport> transport;
    if (!ULK_SUCCEEDED(ulk::GetInterface(locator, service.Ref())) ||
        !ULK_SUCCEEDED(ulk::GetInterface(static_cast<ulk::IServiceLocator*>(service.Get()), transport.Ref())))
        throw std::runtime_error("Cannot initialize transport");
    return transport;
}

class TransportShutdown {
public:
    explicit TransportShutdown(ulk::Ptr<ulk::remoting::ITransport>& transport) : m_transport(transport) {}
    ~TransportShutdown() {
        m_transport->Shutdown();
        m_transport.Reset();
    }
    TransportShutdown(const TransportShutdown&) = delete;
    TransportShutdown& operator=(const TransportShutdown&) = delete;

private:
    ulk::Ptr<ulk::remoting::ITransport>& m_transport;
};

/// Every thread that asks for the tracer or the connection belongs to a model and is joined with it, so that no model
/// may outlive the event loop, also none whose deletion was put off.
class DeferredDeletion {
public:
    DeferredDeletion() = default;
    ~DeferredDeletion() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    DeferredDeletion(const DeferredDeletion&) = delete;
    DeferredDeletion& operator=(const DeferredDeletion&) = delete;
};

class TracerRelease {
public:
    explicit TracerRelease(ulk::Ptr<ulk::ITracer>& tracer) : m_tracer(tracer) {}
    ~TracerRelease() { m_tracer.Reset(); }
    TracerRelease(const TracerRelease&) = delete;
    TracerRelease& operator=(const TracerRelease&) = delete;

private:
    ulk::Ptr<ulk::ITracer>& m_tracer;
};

/// A QApplication that aborts for want of a display ends the process with exit code 1 and no core dump.
std::unique_ptr<QApplication> MakeApplication(int& argc, char** argv) {
    const AbortExit abortExit;
    const tfs::tools::ScreenScale screenScale(MainWindowSize);
    return std::make_unique<QApplication>(argc, argv);
}

/// The processor draws unless the user asks for the graphics system, or by Qt's own variable for anything else. Before
/// the first window.
void ChooseRenderer() {
    if (qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") && qgetenv("TESL_RENDERER") != "hardware")
        QQuickWindow::setSceneGraphBackend(QSGRendererInterface::Software);
}

} // namespace

TeslGuiApp::TeslGuiApp(int& argc, char** argv, const std::shared_ptr<const tfs::loader::ConfigData>& config)
    : m_argc(&argc), m_argv(argv), m_config(config) {
    qRegisterMetaType<tfs::Event>("tfs::Event");
    QGuiApplication::setDesktopSettingsAware(false);
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling, true);
    QGuiApplication::setQuitOnLastWindowClosed(false);
    QQuickStyle::setStyle(QStringLiteral("Default"));
    ChooseRenderer();
    m_application = MakeApplication(argc, argv);
    m_quitTarget.emplace();
    m_listing = ListAhead();
}

TeslGuiApp::~TeslGuiApp() { application::Set(nullptr); }

const std::shared_ptr<TeslGuiApp>& TeslGuiApp::GetInstance(std::shared_ptr<TeslGuiApp> object, bool reset) {
    static std::shared_ptr<TeslGuiApp> instance = [&object] {
        application::Set(object.get());
        return std::move(object);
    }();
    if (reset) {
        instance.swap(object);
        object.reset(); // on its way the old one takes itself out of use
        application::Set(instance.get());
    }
    return instance;
}

result_t TeslGuiApp::Run(app_core::loader::IApplicationInfrastructureLoader* applicationInfrastructureLoader,
                         app_core::loader::IApplicationStateReporter* applicationStateReporter) noexcept {
    // Outlives the clean-ups, so that what goes wrong in Run can be reported after them.
    ulk::Ptr<ulk::ITracer> reportTracer;
    try {
        return RunServices(applicationInfrastructureLoader, applicationStateReporter, reportTracer);
    } catch (...) {
        ULK_TRACE(reportTracer.Get(), ulk::level::Failure) << "Run"
                                                           << "unknown exception";
        return ulk::eUnspecified;
    }
}

result_t TeslGuiApp::RunServices(app_core::loader::IApplicationInfrastructureLoader* infrastructureLoader,
                                 app_core::loader::IApplicationStateReporter* stateReporter,
                                 ulk::Ptr<ulk::ITracer>& reportTracer) {
    result_t result = ULK_CHECK_TRACE(FindTracer(infrastructureLoader).Get(),
                                      stateReporter->StateChanged(application_state::Starting, StartingHintMs,
                                                                  application_control_code::None, ulk::sOk),
                                      "");
    if (!ULK_SUCCEEDED(result))
        return result;
    result = ULK_CHECK_TRACE(FindTracer(infrastructureLoader).Get(),
                             infrastructureLoader->GetRootServiceLocator(m_sl.Ref()), "");
    if (!ULK_SUCCEEDED(result))
        return result;
    reportTracer = FindTracer(m_sl.Get());

    tfs::ScopedServiceManagerInitializer initializer;
    result = ULK_CHECK_TRACE(reportTracer.Get(),
                             initializer.Init(m_sl.Get(), infrastructureLoader, false, SettingsName, StorageName,
                                              EventStoreName, Text(tfs::paths::LibraryFolder),
                                              Text(tfs::paths::GuiStorageFolder), {}, {}, false, false),
                             "Cannot initialize service manager");
    return ULK_SUCCEEDED(result) ? RunWithTransport(reportTracer.Get()) : result;
}

result_t TeslGuiApp::RunWithTransport(ulk::ITracer* reportTracer) {
    m_transport = GetTransport(m_sl.Get());
    const TransportShutdown transportShutdown(m_transport);
    const TracerRelease tracerRelease(m_tracer);
    const result_t result = ULK_CHECK_TRACE(reportTracer, ulk::GetInterface(m_sl.Get(), m_tracer.Ref()), "");
    if (!ULK_SUCCEEDED(result))
        return result;
    if (m_config->localeApplied)
        tfs::localization::LoadLocalization(m_tracer.Get(), m_config->locale.c_str(), true);
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << "service initializer settings:\n"
                                                  << tfs::paths::GuiStorageFolder << "\n"
                                                  << SettingsName << "\n"
                                                  << StorageName << "\n"
                                                  << EventStoreName;
    InitSignalHandlers();
    return RunQtGui();
}

result_t TeslGuiApp::Shutdown() noexcept {
    ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << "Shutdown";
    return ulk::sOk;
}

void TeslGuiApp::InitSignalHandlers() {
    ULK_TRACE(m_tracer.Get(), ulk::level::Finest) << "InitSignalHandlers";
    ULK_CHECK_THROW(InstallSignalHandlers(), "Cannot set signal handlers");
}

int TeslGuiApp::RunQtGui() {
    try {
        ULK_TRACE(m_tracer.Get(), ulk::level::Notable) << "RunQtGui";
        InitQmlResources();
        SetMetadata();
        RegisterQmlTypes();
        m_productConnection = std::make_unique<ProductConnection>(nullptr);
        m_productConnection->Start(m_sl.Get(), m_config);
        m_isTrayOnly = ReadTrayOnly(*m_argc, m_argv, [](unsigned seconds) { (void)::sleep(seconds); });
        const int exitCode = RunEventLoop();
        m_productConnection.reset();
        return exitCode;
    } catch (...) {
        m_productConnection.reset();
        ULK_TRACE(m_tracer.Get(), ulk::level::Failure) << "RunQtGui"
                                                       << "unknown exception";
        return 1;
    }
}

void TeslGuiApp::SetMetadata() {
    namespace entry = tfs::localization::entry;
    QCoreApplication::setApplicationVersion(QStringLiteral("10.1.4.78"));
    const QString title = LocalizedText(entry::GuiTeslProductTitleNonLocalized);
    QCoreApplication::setApplicationName(title);
    QGuiApplication::setApplicationDisplayName(title);
    QCoreApplication::setOrganizationName(LocalizedText(entry::GuiTolvanderOrganization));
    QGuiApplication::setDesktopFileName(QStringLiteral("tesl-gui"));
    // Qt measures every first text against the application's own font, which else is one more typeface to load, or one
    // more size: this is the one that the window's small texts have.
    QFont font(QStringLiteral("Roboto"));
    font.setPixelSize(SmallTextPixels);
    QApplication::setFont(font);
    QGuiApplication::setWindowIcon(ReadIcon(QStringLiteral(":/icon-t")));
}

int TeslGuiApp::RunEventLoop() {
    const DeferredDeletion deferredDeletion;
    // Declared in this order, so that the engine goes before the objects that its files refer to.
    tfs::tools::ScreenSaver screenSaver;
    tfs::tools::CursorPosProvider mousePosition;
    tfs::tools::TrayAvailability trayAvailability;
    QQmlApplicationEngine engine;
    SetContextProperties(*engine.rootContext(),
                         {m_productConnection.get(), &screenSaver, &mousePosition, &trayAvailability}, m_isTrayOnly);
    InstallItemStates(engine);
    engine.load(QUrl(QStringLiteral("qrc:/main.qml")));
    const tfs::tools::WindowsReach reach(qobject_cast<QWindow*>(engine.rootObjects().value(0)));
    const SignalWindow signalWindow;
    RenewQuitRequest();
    return QApplication::exec();
}

ulk::Ptr<ulk::IServiceLocator> TeslGuiApp::GetRemoteServiceLocator() {
    ulk::Ptr<ulk::IServiceLocator> remote;
    if (m_productConnection)
        remote = m_productConnection->AcquireRemoteServiceLocator();
    if (!remote)
        ThrowNoConnection();
    return remote;
}

} // namespace tfs::gui
