// SPDX-License-Identifier: GPL-2.0-or-later
#include <contract/tfs/value_text.h>
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>
#include <gui/settings_manager/product_settings_actions.h>
#include <remote_actions/exceptions.h>
#include <remote_actions/set_app_settings.h>

#include <utility>

namespace tfs::gui {
namespace {

constexpr char TraceLevelKey[] = "TraceLevel";

ulk::ITracer* Tracer() noexcept { return application::GetTracer(); }

/// Traces an exception as a failed check of what threw it.
result_t TraceAndReturn(const char* expression, const std::exception& e, result_t result) {
    const result_t code = ULK_SUCCEEDED(result) ? ulk::eUnspecified : result;
    const auto* const placed = dynamic_cast<const ulk::Exception*>(&e);
    ulk::check::Report(Tracer(), placed != nullptr ? placed->File() : __FILE__,
                       placed != nullptr ? placed->Line() : __LINE__, expression, code,
                       [&e](ulk::trace::Record& record) { record << ExceptionText(e); });
    return code;
}

/// Runs `body` and turns what it throws into a code. `expression` is what a trace line calls it.
template <class Body>
result_t Guarded(const char* expression, Body body) {
    try {
        return body();
    } catch (const remote_actions::InvalidSettingsException& e) {
        return TraceAndReturn(expression, e, ulk::eInvalidArgument);
    } catch (const remote_actions::SettingsBlockedByPolicyException& e) {
        return TraceAndReturn(expression, e, eBlockedByPolicy);
    } catch (const remote_actions::TsnNotAcceptedException& e) {
        return TraceAndReturn(expression, e, eTsnNotAccepted);
    } catch (const remote_actions::ActionInvalidResultException& e) {
        return TraceAndReturn(expression, e, e.Result());
    } catch (const ulk::ResultCodeException& e) {
        return TraceAndReturn(expression, e, e.Code());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        return TraceAndReturn(expression, e, ulk::eUnspecified);
    }
}

result_t ReadAppInfo(ulk::IServiceLocator* remoteSl, AppInfo& appInfo) {
    return Guarded("appInfoProvider->GetAppInfo(read)", [&]() -> result_t {
        ulk::Ptr<IAppInfoProvider> appInfoProvider;
        if (const result_t result = ULK_CHECK_TRACE(Tracer(), ulk::GetInterface(remoteSl, appInfoProvider.Ref()),
                                                    "Cannot get AppInfoProvider");
            !ULK_SUCCEEDED(result))
            return result;
        AppInfo read;
        const result_t result =
            ULK_CHECK_TRACE(Tracer(), appInfoProvider->GetAppInfo(read), "Cannot get application info");
        if (ULK_SUCCEEDED(result))
            appInfo = std::move(read);
        return result;
    });
}

result_t ReadAppSettings(ulk::IServiceLocator* remoteSl, settings::AppSettings& appSettings) {
    return Guarded("appSettingsHandler->GetAppSettings(holder)", [&]() -> result_t {
        ulk::Ptr<IAppSettingsHandler> appSettingsHandler;
        if (const result_t result = ULK_CHECK_TRACE(Tracer(), ulk::GetInterface(remoteSl, appSettingsHandler.Ref()),
                                                    "Cannot get interface IAppSettingsHandler");
            !ULK_SUCCEEDED(result))
            return result;
        ulk::types::any_struct_t holder;
        const result_t result =
            ULK_CHECK_TRACE(Tracer(), appSettingsHandler->GetAppSettings(holder), "Cannot get application settings");
        if (!ULK_SUCCEEDED(result))
            return result;
        const auto* const read = holder.Get<settings::AppSettings>();
        if (read == nullptr)
            ulk::check::Throw(__FILE__, __LINE__, ulk::eInvalidType, "Application settings are not valid");
        appSettings = *read;
        return result;
    });
}

result_t RunSetAppSettings(ulk::IServiceLocator* remoteSl, settings::SettingsChangeList&& changes) {
    return Guarded("action->Exec(remoteSl)", [&]() -> result_t {
        const auto action =
            remote_actions::MakeSetAppSettings(application::GetLocalServiceLocator(), {}, false, std::move(changes));
        return action->Exec(remoteSl).code;
    });
}

} // namespace

result_t ProductSettingsActions::GetAppInfo(ulk::IServiceLocator* remoteSl, AppInfo& appInfo) {
    return ULK_CHECK_TRACE(Tracer(), ReadAppInfo(remoteSl, appInfo), "cannot get app info");
}

result_t ProductSettingsActions::GetAVBasesDate(ulk::IServiceLocator* remoteSl, std::int64_t& date) {
    AppInfo appInfo;
    if (const result_t result = GetAppInfo(remoteSl, appInfo); !ULK_SUCCEEDED(result))
        return result;
    if (!ULK_CHECK_BOOL_TRACE(Tracer(), appInfo.avBasesLoaded, "AV bases is not loaded"))
        return ulk::eNotReady;
    date = appInfo.avBasesDate;
    return ulk::sOk;
}

result_t ProductSettingsActions::GetAppSettings(ulk::IServiceLocator* remoteSl, settings::AppSettings& appSettings) {
    return ULK_CHECK_TRACE(Tracer(), ReadAppSettings(remoteSl, appSettings), "cannot get app settings");
}

result_t ProductSettingsActions::SetAppSettings(ulk::IServiceLocator* remoteSl,
                                                settings::SettingsChangeList&& changes) {
    return ULK_CHECK_TRACE(Tracer(), RunSetAppSettings(remoteSl, std::move(changes)), "cannot set app settings");
}

result_t ProductSettingsActions::ChangeTraceLevel(ulk::IServiceLocator* remoteSl, types::TraceLevel::Type level) {
    ULK_TRACE(Tracer(), ulk::level::Notable) << "ChangeTraceLevel";
    return Guarded("types::ToString(level)", [&] {
        settings::SettingsChangeList changes;
        changes.typeNumber = settings::AppSettings::TypeNumber;
        changes.items.push_back({TraceLevelKey, types::ToString(level)});
        return SetAppSettings(remoteSl, std::move(changes));
    });
}

} // namespace tfs::gui
