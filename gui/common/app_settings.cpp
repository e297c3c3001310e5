// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/settings.h>
#include <contract/tfs/value_text.h>
#include <gui/common/app_settings.h>
#include <gui/common/remote_interface.h>

#include <string>
#include <unistd.h>

namespace tfs::gui::app_settings {
namespace {

using types::TsnUsage;

constexpr char NetworkKey[] = "UseTSN";

tfs::settings::AppSettings ReadSettings() {
    const auto appSettingsHandler = GUI_GET_REMOTE_INTERFACE(IAppSettingsHandler);
    ulk::types::any_struct_t holder;
    ULK_CHECK_THROW(appSettingsHandler->GetAppSettings(holder), "Cannot read application settings");
    const auto* const settings = holder.Get<tfs::settings::AppSettings>();
    if (settings == nullptr)
        ulk::check::Throw(__FILE__, __LINE__, ulk::eInvalidType, "Cannot read application settings");
    return *settings;
}

} // namespace

void ChangeTSNState(TsnUsage::Type mode) {
    const std::string name = types::ToString(mode);
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__ << ": " << name;
    const auto appSettingsHandler = GUI_GET_REMOTE_INTERFACE(IAppSettingsHandler);
    tfs::settings::SettingsChangeList changes;
    changes.typeNumber = tfs::settings::AppSettings::TypeNumber;
    changes.items.push_back({NetworkKey, name});
    ulk::types::vector_t<tfs::settings::ValidationMessage> messages;
    ULK_CHECK_THROW(appSettingsHandler->SetAppSettings(changes, messages, mode != TsnUsage::Off),
                    "Cannot change TSN state");
}

TsnUsage::Type GetTSNState() {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return ReadSettings().useTsn;
}

bool IsReportsAllowedForCurrentUser() {
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    return !ReadSettings().uiReportsForRootOnly || ::geteuid() == 0;
}

} // namespace tfs::gui::app_settings
