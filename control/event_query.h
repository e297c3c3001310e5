// SPDX-License-Identifier: GPL-2.0-or-later
// The command --event-query.
#pragma once

#include <control/command_context.h>
#include <control/event_selection.h>

namespace tfs::control {

/// Tells the stored events of the selection.
ExitCode QueryEvents(const CommandContext& context, const EventSelection& selection);

} // namespace tfs::control
