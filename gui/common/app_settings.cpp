// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/app_info.h>
#include <gui/common/app_settings.h>
#include <gui/common/remote_interface.h>

#include <unistd.h>

namespace tfs::gui::app_settings {
namespace {

tfs::settings::AppSettings ReadSettings() {
    const auto handler = GUI_GET_REMOTE_INTERFACE(IAppSettingsHandler);
    ulk::types::any_struct_t holder;
    ULK_CHECK_THROW(handler->GetAppSettings(holder), "Cannot read application settings");
    const auto* const settings = holder.Get<tfs::settings::AppSettings>();
    if (settings == nullptr)
        ulk::check::Throw(__FILE__, __LINE__, ulk::eInvalidType, "Cannot read application settings");
    return *settings;
}

} // namespace

bool IsReportsAllowedForCurrentUser() {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return !ReadSettings().reportsForPrivilegedOnly || ::geteuid() == 0;
}

} // namespace tfs::gui::app_settings
