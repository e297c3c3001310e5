// SPDX-License-Identifier: GPL-2.0-or-later
// Asks the service for all that the overview of the device is made of.
#pragma once

#include <control/command_context.h>
#include <tfs_common/overview/device_state.h>

namespace tfs::control {

/// Throws Failure where the service doesn't answer. What it doesn't offer, or doesn't let this user see, is unknown.
overview::DeviceState ReadDeviceState(const CommandContext& context);

} // namespace tfs::control
