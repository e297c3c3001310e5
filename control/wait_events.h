// SPDX-License-Identifier: GPL-2.0-or-later
// The command --wait-events.
#pragma once

#include <control/command_context.h>
#include <control/event_selection.h>

namespace tfs::control {

/// Tells events as they come, by type and task type, until the user asks to stop, which is its good end.
ExitCode WaitEvents(const CommandContext& context, const EventSelection& selection);

} // namespace tfs::control
