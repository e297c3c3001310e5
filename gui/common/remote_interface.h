// SPDX-License-Identifier: GPL-2.0-or-later
// How code of the window obtains an interface of the service.
#pragma once

#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/common/application.h>

namespace tfs::gui {

/// `caller` is the signature of the function that asks; it is traced at level 800. Throws ulk::RuntimeError without a
/// connection and ulk::CheckResultFailedException where the service doesn't have the interface. Waits at most for a
/// call's deadline. Any thread.
template <class Interface>
ulk::Ptr<Interface> GetRemoteInterfaceImpl(const char* caller) {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << caller;
    const ulk::Ptr<ulk::IServiceLocator> remote = application::AcquireRemoteServiceLocator();
    ulk::Ptr<Interface> found;
    ULK_CHECK_THROW(ulk::GetInterface(remote.Get(), found.Ref()), "Cannot get interface from the service");
    return found;
}

} // namespace tfs::gui

#define GUI_GET_REMOTE_INTERFACE(Interface) ::tfs::gui::GetRemoteInterfaceImpl<Interface>(__PRETTY_FUNCTION__)
