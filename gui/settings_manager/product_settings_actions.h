// SPDX-License-Identifier: GPL-2.0-or-later
// What pages read and change of the product as a whole.
#pragma once

#include <contract/tfs/app_info.h>
#include <contract/tfs/settings.h>
#include <foundation/object.h>

#include <cstdint>

namespace tfs::gui {

/// Holds nothing. Each operation takes the service's locator, blocks for the length of its remote calls and returns a
/// code; every failure is traced at level 300, and what the caller gets into then stays as it was. Throws nothing but
/// std::bad_alloc.
class ProductSettingsActions {
public:
    result_t GetAppInfo(ulk::IServiceLocator* remoteSl, AppInfo& appInfo);
    /// Release date of the signatures in ticks of 100 ns since 1601. eNotReady where none are loaded.
    result_t GetAVBasesDate(ulk::IServiceLocator* remoteSl, std::int64_t& date);
    result_t GetAppSettings(ulk::IServiceLocator* remoteSl, settings::AppSettings& appSettings);
    /// Applies the whole list or nothing. eInvalidArgument for settings that the service calls invalid,
    /// eBlockedByPolicy, eTsnNotAccepted, eAccessDenied; else the code of the call.
    result_t SetAppSettings(ulk::IServiceLocator* remoteSl, settings::SettingsChangeList&& changes);
    /// SetAppSettings of the service's trace level alone.
    result_t ChangeTraceLevel(ulk::IServiceLocator* remoteSl, types::TraceLevel::Type level);
};

} // namespace tfs::gui
