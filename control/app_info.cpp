// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/app_info.h>

namespace tfs::control {

ExitCode TellAppInfo(const CommandContext& context) {
    AppInfo appInfo;
    ThrowIfFailed(Service<IAppInfoProvider>(context)->GetAppInfo(appInfo), "Cannot get the application information");
    context.reporter.AppInfoTold(appInfo);
    return ExitCode::Ok;
}

} // namespace tfs::control
