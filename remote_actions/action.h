// SPDX-License-Identifier: GPL-2.0-or-later
// Commands for the service as objects: made, filled, run once.
#pragma once

#include <foundation/object.h>
#include <foundation/result.h>

#include <string>

namespace tfs {

/// What an action returns.
struct CommandResult {
    std::string message;      ///< what the service had to say, UTF-8
    result_t code = ulk::sOk; ///< the service's result
};

namespace remote_actions {

/// Belongs to the thread that runs it.
class IAction {
public:
    virtual ~IAction() = default;
    /// Blocks for the length of the remote calls. `remote` is the service's locator. Throws CommandException and its
    /// kin where the command comes to nothing, ulk::CheckResultFailedException where the service can't be asked.
    virtual CommandResult Exec(ulk::IServiceLocator* remote) = 0;
};

} // namespace remote_actions
} // namespace tfs
