// SPDX-License-Identifier: GPL-2.0-or-later
// What a command works with. Commands run on the main thread, inside the application's Run.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/event.h>
#include <contract/tfs/tasks.h>
#include <control/failure.h>
#include <control/reporter.h>
#include <foundation/objclient.h>

#include <functional>
#include <string>

namespace tfs::control {

struct CommandContext {
    ulk::IServiceLocator* remote = nullptr; ///< the service's locator
    std::function<bool()> isServiceAlive;   ///< never blocks
    std::function<unsigned()> stopRequests; ///< how often the user has asked to stop, so far
    IReporter& reporter;
    ulk::IServiceLocator* local = nullptr; ///< the process's own; may be null
};

/// An interface of the service. A Failure tells that the service doesn't have it or doesn't answer.
template <class Interface>
ulk::Ptr<Interface> Service(const CommandContext& context) {
    ulk::Ptr<Interface> service;
    ThrowIfFailed(ulk::GetInterface(context.remote, service.Ref()), "The service does not offer what is asked for");
    return service;
}

} // namespace tfs::control
