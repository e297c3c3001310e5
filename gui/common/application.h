// SPDX-License-Identifier: GPL-2.0-or-later
// What models and actions may ask of the running application, so that they need nothing of its start-up.
#pragma once

#include <foundation/object.h>
#include <foundation/trace.h>

namespace tfs::gui {

/// Implemented by TeslGuiApp. All operations may be called from any thread.
class IApplication {
public:
    /// Null before the tracer has been obtained.
    virtual ulk::ITracer* Tracer() const noexcept = 0;
    /// Null before the root locator has been obtained.
    virtual ulk::IServiceLocator* LocalServiceLocator() const noexcept = 0;
    /// The service's locator, held for the caller, who may be on a worker thread while the connection is dropped.
    /// Throws ulk::RuntimeError with code 256 and "No connection to product" where there is none.
    virtual ulk::Ptr<ulk::IServiceLocator> GetRemoteServiceLocator() = 0;

protected:
    ~IApplication() = default;
};

namespace application {

/// Set once on the GUI thread before any model exists and cleared (null) after the last one has gone.
void Set(IApplication* instance) noexcept;

/// Null without an application or before its tracer has been obtained.
ulk::ITracer* GetTracer() noexcept;
ulk::IServiceLocator* GetLocalServiceLocator() noexcept;
/// IApplication::GetRemoteServiceLocator of the running application. Throws as it does, also without an application.
ulk::Ptr<ulk::IServiceLocator> AcquireRemoteServiceLocator();

} // namespace application

/// Throws ulk::RuntimeError with code 256 and "No connection to product".
[[noreturn]] void ThrowNoConnection();

} // namespace tfs::gui
