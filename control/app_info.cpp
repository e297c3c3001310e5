// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/app_info.h>
#include <control/device_state.h>
#include <tfs_common/overview/overview.h>

namespace tfs::control {

ExitCode TellAppInfo(const CommandContext& context) {
    const overview::DeviceState device = ReadDeviceState(context);
    context.reporter.AppInfoTold(device.appInfo, overview::Describe(device));
    return ExitCode::Ok;
}

} // namespace tfs::control
