// SPDX-License-Identifier: GPL-2.0-or-later
// The objects that the locator of a connection hands out. On the loop's thread.
#pragma once

#include <service/rpc/connection_context.h>
#include <service/rpc/method.h>
#include <wire/tesl.capnp.h>

#include <span>

namespace tfs::service::rpc {

class AppInfoObject final : public ServiceObject {
public:
    explicit AppInfoObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller), m_api(context->api) {}
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::AppInfoProvider;
    result_t GetAppInfo(Schema::GetAppInfoParams::Reader params, Schema::GetAppInfoResults::Builder results);

    IServiceApi& m_api;
};

class AppSettingsObject final : public ServiceObject {
public:
    explicit AppSettingsObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller, context->blocking), m_api(context->api) {}
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::AppSettingsHandler;
    result_t GetAppSettings(Schema::GetAppSettingsParams::Reader params,
                            Schema::GetAppSettingsResults::Builder results);

    IServiceApi& m_api;
};

class PolicyProviderObject final : public ServiceObject {
public:
    explicit PolicyProviderObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller), m_api(context->api) {}
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::PolicyProvider;
    result_t CanBeStarted(Schema::CanBeStartedParams::Reader params, Schema::CanBeStartedResults::Builder results);
    result_t CanBeStopped(Schema::CanBeStoppedParams::Reader params, Schema::CanBeStoppedResults::Builder results);
    result_t IsUserManageTasksAllowed(Schema::IsUserManageTasksAllowedParams::Reader params,
                                      Schema::IsUserManageTasksAllowedResults::Builder results);

    IServiceApi& m_api;
};

class PolicyManagerObject final : public ServiceObject {
public:
    explicit PolicyManagerObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller), m_api(context->api) {}
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::PolicyManager;
    result_t GetPolicy(Schema::GetPolicyParams::Reader params, Schema::GetPolicyResults::Builder results);

    IServiceApi& m_api;
};

class TaskManagerObject final : public ServiceObject {
public:
    explicit TaskManagerObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller, context->blocking), m_api(context->api) {}
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::TaskManager;
    result_t GetTaskList(Schema::GetTaskListParams::Reader params, Schema::GetTaskListResults::Builder results);
    result_t GetStatistics(Schema::GetStatisticsParams::Reader params, Schema::GetStatisticsResults::Builder results);
    result_t GetStatistic(Schema::GetStatisticParams::Reader params, Schema::GetStatisticResults::Builder results);
    result_t GetOdsStatistics(Schema::GetOdsStatisticsParams::Reader params,
                              Schema::GetOdsStatisticsResults::Builder results);
    result_t StartTask(Schema::StartTaskParams::Reader params, Schema::StartTaskResults::Builder results);
    result_t StopTask(Schema::StopTaskParams::Reader params, Schema::StopTaskResults::Builder results);
    result_t PauseTask(Schema::PauseTaskParams::Reader params, Schema::PauseTaskResults::Builder results);
    result_t ResumeTask(Schema::ResumeTaskParams::Reader params, Schema::ResumeTaskResults::Builder results);
    result_t DeleteTask(Schema::DeleteTaskParams::Reader params, Schema::DeleteTaskResults::Builder results);
    result_t DeleteStatistic(Schema::DeleteStatisticParams::Reader params,
                             Schema::DeleteStatisticResults::Builder results);
    result_t GetSchedule(Schema::GetScheduleParams::Reader params, Schema::GetScheduleResults::Builder results);
    result_t GetTaskInfo(Schema::GetTaskInfoParams::Reader params, Schema::GetTaskInfoResults::Builder results);
    result_t CreateScanTask(Schema::CreateScanTaskParams::Reader params,
                            Schema::CreateScanTaskResults::Builder results);
    result_t GetProgress(Schema::GetProgressParams::Reader params, Schema::GetProgressResults::Builder results);
    result_t GetTaskSettings(Schema::GetTaskSettingsParams::Reader params,
                             Schema::GetTaskSettingsResults::Builder results);

    IServiceApi& m_api;
};

class EventStorerObject final : public ServiceObject {
public:
    explicit EventStorerObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller, context->blocking) {}
    static std::span<const Method> Methods() noexcept;
};

class BackupManagerObject final : public ServiceObject {
public:
    explicit BackupManagerObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller, context->blocking, context->slow) {}
    static std::span<const Method> Methods() noexcept;
};

class BackupConfiguratorObject final : public ServiceObject {
public:
    explicit BackupConfiguratorObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller, context->blocking) {}
    static std::span<const Method> Methods() noexcept;
};

class EventSubscriberObject final : public ServiceObject {
public:
    explicit EventSubscriberObject(const std::shared_ptr<ConnectionContext>& context)
        : ServiceObject(Methods(), context->caller), m_context(context) {}
    static std::span<const Method> Methods() noexcept;

private:
    using Schema = wire::schema::EventSubscriber;
    result_t Subscribe(Schema::SubscribeParams::Reader params, Schema::SubscribeResults::Builder results);

    const std::shared_ptr<ConnectionContext> m_context;
};

} // namespace tfs::service::rpc
