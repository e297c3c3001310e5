// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <gui/app_info/task_popups.h>
#include <gui/common/application.h>
#include <gui/common/localized_text.h>
#include <gui/task_manager/component_id.h>
#include <gui/task_manager/task_names.h>
#include <gui/task_manager/tasklist_actions.h>

namespace tfs::gui::task_popups {
namespace {

namespace entry = tfs::localization::entry;
using tfs::types::AdditionalName;
using tfs::types::TaskNotStartedReason;

const TaskTypeSet& TypesThatRaisePopups() {
    static const TaskTypeSet types{task_type::OAS, task_type::OAFIM, task_type::AntiCryptor, task_type::Firewall};
    return types;
}

/// The reason travels as its number or by its name; one that isn't known is none of the four.
std::int64_t ReasonOf(const Event& event) {
    ulk::types::variant_t value;
    ULK_CHECK_THROW(event.GetAdditionalData(AdditionalName::TaskNotStartedReason, value),
                    "Cannot extract TaskNotStartedReason from event");
    std::int64_t reason = 0;
    if (ulk::types::VariantToInteger(value, reason))
        return reason;
    ulk::types::string16_t name;
    ULK_CHECK_THROW(event.GetAdditionalData(AdditionalName::TaskNotStartedReason, name),
                    "Cannot extract TaskNotStartedReason from event");
    return TaskNotStartedReason::Table().Value(ulk::text::ToUtf8Lossy(name)).value_or(-1);
}

} // namespace

QString NotStartedReason(std::int64_t reason) {
    switch (reason) {
    case TaskNotStartedReason::InternalSettingsError:
        return LocalizedText(entry::GuiTaskNotStartedInterceptorConfigureError);
    case TaskNotStartedReason::InterceptionDriverError:
        return LocalizedText(entry::GuiTaskNotStartedInterceptorDriverError);
    case TaskNotStartedReason::NetworkServicesNotAvailable:
        return LocalizedText(entry::GuiTaskNotStartedNetworkServicesError);
    case TaskNotStartedReason::InternalError:
        return LocalizedText(entry::GuiTaskNotStartedNetworkInterceptorError);
    default:
        return LocalizedText(entry::GuiTaskNotStartedUnknownReason);
    }
}

std::optional<TaskFailure> ForTaskNotStarted(ulk::IServiceLocator* remoteSl, const Event& event) {
    ulk::types::string16_t taskName;
    ULK_CHECK_THROW(event.GetAdditionalData(AdditionalName::TaskName, taskName),
                    "There is no taskId field in task event!");
    ulk::Ptr<ITfsTaskManager> taskManager;
    ULK_CHECK_THROW(ulk::GetInterface(remoteSl, taskManager.Ref()), "Cannot get interface ITfsTaskManager");
    tfs::core::TaskInfo task;
    ULK_CHECK_THROW(taskManager->GetTaskInfo(taskName, task), "Error while taking task info");
    if (TypesThatRaisePopups().count(task.taskType) == 0)
        return std::nullopt;
    const auto component = ComponentOfTaskType(task.taskType);
    ULK_CHECK_THROW(event.GetAdditionalData(AdditionalName::TaskName, taskName), "Cannot extract TaskName from event");
    return TaskFailure{
        component ? static_cast<std::uint32_t>(*component) : 0,
        LocalizedFormat(entry::GuiPopupTaskFailureText, LocalizedTaskName(task), NotStartedReason(ReasonOf(event)))};
}

QString ForCustomScanStopped(ulk::IServiceLocator* remoteSl, const TaskInfo& task) {
    OxsStatistic statistics;
    if (task.statistics) {
        ULK_TRACE(application::GetTracer(), ulk::level::Detail) << "Use offline statistics";
        statistics = *task.statistics;
    } else {
        ULK_TRACE(application::GetTracer(), ulk::level::Detail) << "Try to get statistitcs from the product";
        OnDemandTaskListActions actions;
        if (!ULK_SUCCEEDED(actions.GetTaskStatistics(remoteSl, task.core.taskName, statistics))) {
            ULK_TRACE(application::GetTracer(), ulk::level::Failure) << "Cannot get statistics from the product";
            statistics = OxsStatistic();
        }
    }
    if (statistics.scan.threatsFound < 1)
        return LocalizedText(entry::GuiPopupMessageNoThreats);
    return LocalizedPlural(entry::GuiPopupMessageWithThreats, static_cast<std::int64_t>(statistics.scan.threatsFound));
}

} // namespace tfs::gui::task_popups
