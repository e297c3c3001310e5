// SPDX-License-Identifier: GPL-2.0-or-later
// Application state, settings and policy: reads, open to everybody, and the change of settings.
#include <service/rpc/objects.h>
#include <wire/settings_records.h>
#include <wire/task_records.h>
#include <wire/text.h>

namespace tfs::service::rpc {
namespace {

struct SetAppSettingsCall {
    using Params = wire::schema::AppSettingsHandler::SetAppSettingsParams;
    using Results = wire::schema::AppSettingsHandler::SetAppSettingsResults;

    void Read(Params::Reader params) {
        wire::Read(params.getChanges(), m_changes);
        m_acceptTsn = params.getAcceptTsn();
    }
    result_t Run(IBlockingApi& api, const Caller& caller) {
        return api.SetAppSettings(caller, m_changes, m_acceptTsn, m_messages);
    }
    void Write(result_t, Results::Builder results) const {
        wire::WriteList(m_messages, results.initMessages(static_cast<capnp::uint>(m_messages.size())));
    }

private:
    tfs::settings::SettingsChangeList m_changes;
    bool m_acceptTsn = false;
    std::vector<tfs::settings::ValidationMessage> m_messages;
};

} // namespace

std::span<const Method> AppInfoObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Of<Schema, &AppInfoObject::GetAppInfo>(0, "getAppInfo", Privilege::Anyone),
    };
    return Table;
}

result_t AppInfoObject::GetAppInfo(Schema::GetAppInfoParams::Reader, Schema::GetAppInfoResults::Builder results) {
    AppInfo appInfo;
    const result_t result = m_api.GetAppInfo(appInfo);
    if (ULK_SUCCEEDED(result))
        wire::Write(appInfo, results.initAppInfo());
    return result;
}

std::span<const Method> AppSettingsObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Of<Schema, &AppSettingsObject::GetAppSettings>(0, "getAppSettings", Privilege::Anyone),
        Method::Blocking<Schema, SetAppSettingsCall>(1, "setAppSettings", Privilege::Administrator),
    };
    return Table;
}

result_t AppSettingsObject::GetAppSettings(Schema::GetAppSettingsParams::Reader,
                                           Schema::GetAppSettingsResults::Builder results) {
    settings::AppSettings settings;
    const result_t result = m_api.GetAppSettings(settings);
    if (ULK_SUCCEEDED(result))
        wire::Write(settings, results.initSettings());
    return result;
}

std::span<const Method> PolicyProviderObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Of<Schema, &PolicyProviderObject::CanBeStarted>(0, "canBeStarted", Privilege::Anyone),
        Method::Of<Schema, &PolicyProviderObject::CanBeStopped>(1, "canBeStopped", Privilege::Anyone),
        Method::Of<Schema, &PolicyProviderObject::IsUserManageTasksAllowed>(2, "isUserManageTasksAllowed",
                                                                            Privilege::Anyone),
    };
    return Table;
}

result_t PolicyProviderObject::CanBeStarted(Schema::CanBeStartedParams::Reader params,
                                            Schema::CanBeStartedResults::Builder results) {
    bool allowed = false;
    const result_t result = m_api.CanBeStarted(GetCaller(), wire::ReadText(params.getTaskName()), allowed);
    results.setAllowed(allowed);
    return result;
}

result_t PolicyProviderObject::CanBeStopped(Schema::CanBeStoppedParams::Reader params,
                                            Schema::CanBeStoppedResults::Builder results) {
    bool allowed = false;
    const result_t result = m_api.CanBeStopped(GetCaller(), wire::ReadText(params.getTaskName()), allowed);
    results.setAllowed(allowed);
    return result;
}

result_t PolicyProviderObject::IsUserManageTasksAllowed(Schema::IsUserManageTasksAllowedParams::Reader,
                                                        Schema::IsUserManageTasksAllowedResults::Builder results) {
    bool localTasks = false;
    bool groupTasks = false;
    const result_t result = m_api.IsUserManageTasksAllowed(localTasks, groupTasks);
    results.setLocalTasks(localTasks);
    results.setGroupTasks(groupTasks);
    return result;
}

std::span<const Method> PolicyManagerObject::Methods() noexcept {
    static constexpr Method Table[] = {
        Method::Of<Schema, &PolicyManagerObject::GetPolicy>(0, "getPolicy", Privilege::Anyone),
    };
    return Table;
}

result_t PolicyManagerObject::GetPolicy(Schema::GetPolicyParams::Reader, Schema::GetPolicyResults::Builder results) {
    PolicyState state;
    const result_t result = m_api.GetPolicy(state);
    if (ULK_SUCCEEDED(result))
        results.setName(wire::AsData(state.name));
    return result;
}

} // namespace tfs::service::rpc
