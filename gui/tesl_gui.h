// SPDX-License-Identifier: GPL-2.0-or-later
// The application, from entry to exit.
#pragma once

#include <contract/app_core/loader.h>
#include <contract/remoting.h>
#include <foundation/object.h>
#include <foundation/trace.h>
#include <gui/common/application.h>
#include <gui/common/product_connection.h>
#include <gui/quit_request.h>
#include <tfs_common/config_data.h>

#include <QtWidgets/QApplication>
#include <future>
#include <memory>
#include <optional>

namespace tfs::gui {

/// Made by main, which hands it to the application loader; Run and all below it run on main's thread. The accessors of
/// the services may be called from any thread while the event loop runs.
class TeslGuiApp final : public ulk::SimpleObjectBase<ulk::NoServiceStrategy, app_core::loader::IApplicationController>,
                         public IApplication {
public:
    /// Makes the QApplication; for want of a display the process ends here with exit code 1. `argc` and `argv` must
    /// outlive the object.
    TeslGuiApp(int& argc, char** argv, const std::shared_ptr<const tfs::loader::ConfigData>& config);
    ~TeslGuiApp() override;

    /// The process's one application. The first call stores `object`; a later one replaces it where `reset` is set,
    /// which destroys the old one.
    static const std::shared_ptr<TeslGuiApp>& GetInstance(std::shared_ptr<TeslGuiApp> object = nullptr,
                                                          bool reset = false);

    result_t Configure() noexcept override { return ulk::eNotImplemented; }
    /// The event loop's exit code, or the code of the step that failed.
    result_t Run(app_core::loader::IApplicationInfrastructureLoader* applicationInfrastructureLoader,
                 app_core::loader::IApplicationStateReporter* applicationStateReporter) noexcept override;
    /// Traces its name; the event loop ends only by QCoreApplication::quit.
    result_t Shutdown() noexcept override;

    ulk::ITracer* Tracer() const noexcept override { return m_tracer.Get(); }
    ulk::IServiceLocator* LocalServiceLocator() const noexcept override { return m_sl.Get(); }
    /// How all models reach the service, by way of application::AcquireRemoteServiceLocator.
    ulk::Ptr<ulk::IServiceLocator> GetRemoteServiceLocator() override;

private:
    result_t RunServices(app_core::loader::IApplicationInfrastructureLoader* infrastructureLoader,
                         app_core::loader::IApplicationStateReporter* stateReporter,
                         ulk::Ptr<ulk::ITracer>& reportTracer);
    result_t RunWithTransport(ulk::ITracer* reportTracer);
    void InitSignalHandlers();
    int RunQtGui();
    int RunEventLoop();
    void SetMetadata();

    int* m_argc;
    char** m_argv;
    bool m_isTrayOnly = false;
    const std::shared_ptr<const tfs::loader::ConfigData>& m_config;
    ulk::Ptr<ulk::ITracer> m_tracer;
    ulk::Ptr<ulk::IServiceLocator> m_sl;
    ulk::Ptr<ulk::remoting::ITransport> m_transport;
    std::unique_ptr<ProductConnection> m_productConnection;
    std::unique_ptr<QApplication> m_application;
    std::optional<QuitTarget> m_quitTarget;
    /// Ends before the application that it needs.
    std::future<void> m_listing;
};

} // namespace tfs::gui
