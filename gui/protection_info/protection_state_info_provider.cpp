// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/common/application.h>
#include <gui/common/exception_text.h>
#include <gui/protection_info/protection_state_info_provider.h>
#include <gui/task_manager/tasklist_actions.h>

namespace tfs::gui {

result_t ProtectionStateInfoProvider::GetAppInfo(ulk::IServiceLocator* remoteSl, AppInfo& appInfo) {
    ulk::ITracer* const tracer = application::GetTracer();
    ulk::Ptr<IAppInfoProvider> appInfoProvider;
    const result_t result =
        ULK_CHECK_TRACE(tracer, ulk::GetInterface(remoteSl, appInfoProvider.Ref()), "Cannot get AppInfoProvider");
    if (!ULK_SUCCEEDED(result))
        return result;
    return ULK_CHECK_TRACE(tracer, appInfoProvider->GetAppInfo(appInfo), "Cannot get application info");
}

result_t ProtectionStateInfoProvider::GetActiveLicenseStateInfo(ulk::IServiceLocator*, LicenseInfo& license) {
    // Nothing licenses this build, so there is nothing to say.
    license = LicenseInfo();
    return ulk::sOk;
}

result_t ProtectionStateInfoProvider::GetTaskState(ulk::IServiceLocator* remoteSl, const TaskId& id, TaskInfo& task) {
    ulk::ITracer* const tracer = application::GetTracer();
    const std::string text = TaskIdText(id);
    try {
        OnDemandTaskListActions actions;
        ULK_CHECK_THROW(actions.GetTaskInfo(remoteSl, text, task), "Error while taking task info");
        ULK_TRACE(tracer, ulk::level::Detail)
            << "Task #" << text << " state = " << static_cast<std::int32_t>(task.core.state);
        return ulk::sOk;
    } catch (const ulk::ResultCodeException& e) {
        ULK_TRACE(tracer, ulk::level::Failure) << "Cannot get #" << text << " task state: " << ExceptionText(e);
        return e.Code();
    } catch (const std::exception& e) {
        ULK_TRACE(tracer, ulk::level::Failure) << "Cannot get #" << text << " task state: " << ExceptionText(e);
        return ulk::eUnspecified;
    }
}

result_t ProtectionStateInfoProvider::GetProtectionStateInfo(ulk::IServiceLocator* remoteSl,
                                                             ProtectionStateInfo& info) {
    if (const result_t result = GetAppInfo(remoteSl, info.appInfo); !ULK_SUCCEEDED(result))
        return result;
    ULK_TRACE(application::GetTracer(), ulk::level::Detail) << "isOASEnabled = " << info.appInfo.isOASEnabled;
    if (const result_t result = GetTaskState(remoteSl, TaskId::Update, info.updateTask); !ULK_SUCCEEDED(result))
        return result;
    ULK_CHECK_THROW(GetTaskState(remoteSl, TaskId::FileMonitoring, info.fileMonitoringTask),
                    "Cannot get info for OAS task");
    return ulk::sOk;
}

} // namespace tfs::gui
