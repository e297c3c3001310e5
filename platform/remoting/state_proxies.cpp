// SPDX-License-Identifier: GPL-2.0-or-later
#include <platform/remoting/proxies.h>
#include <wire/settings_records.h>
#include <wire/task_records.h>
#include <wire/text.h>

#include <string>

namespace ulk::remoting {

using tfs::wire::AsData;

result_t AppInfoProviderProxy::GetAppInfo(tfs::AppInfo& appInfo) {
    return Call(
        appInfo, [](auto& client) { return client.getAppInfoRequest(); },
        [](auto& answer, tfs::AppInfo& record) { tfs::wire::Read(answer.getAppInfo(), record); });
}

result_t AppSettingsHandlerProxy::GetAppSettings(types::any_struct_t& holder) {
    tfs::settings::AppSettings settings;
    const result_t result = Call(
        settings, [](auto& client) { return client.getAppSettingsRequest(); },
        [](auto& answer, tfs::settings::AppSettings& record) { tfs::wire::Read(answer.getSettings(), record); });
    if (ULK_SUCCEEDED(result))
        holder.Set(settings);
    return result;
}

result_t AppSettingsHandlerProxy::SetAppSettings(const tfs::settings::SettingsChangeList& changes,
                                                 types::vector_t<tfs::settings::ValidationMessage>& messages,
                                                 bool acceptTsn) {
    return Call(
        messages,
        [changes = changes, acceptTsn](auto& client) {
            auto request = client.setAppSettingsRequest();
            tfs::wire::Write(changes, request.initChanges());
            request.setAcceptTsn(acceptTsn);
            return request;
        },
        [](auto& answer, auto& records) { tfs::wire::ReadList(answer.getMessages(), records); }, Payload::OfEveryCode);
}

result_t PolicyProviderProxy::CanBeStarted(const types::string16_t& taskName, bool& allowed) {
    return Call(
        allowed,
        [name = std::u16string(taskName)](auto& client) {
            auto request = client.canBeStartedRequest();
            request.setTaskName(AsData(name));
            return request;
        },
        [](auto& answer, bool& value) { value = answer.getAllowed(); });
}

result_t PolicyProviderProxy::CanBeStopped(const types::string16_t& taskName, bool& allowed) {
    return Call(
        allowed,
        [name = std::u16string(taskName)](auto& client) {
            auto request = client.canBeStoppedRequest();
            request.setTaskName(AsData(name));
            return request;
        },
        [](auto& answer, bool& value) { value = answer.getAllowed(); });
}

result_t PolicyProviderProxy::IsUserManageTasksAllowed(bool& localTasks, bool& groupTasks) {
    std::pair<bool, bool> allowed;
    const result_t result = Call(
        allowed, [](auto& client) { return client.isUserManageTasksAllowedRequest(); },
        [](auto& answer, std::pair<bool, bool>& value) {
            value = {answer.getLocalTasks(), answer.getGroupTasks()};
        });
    if (ULK_SUCCEEDED(result)) {
        localTasks = allowed.first;
        groupTasks = allowed.second;
    }
    return result;
}

result_t PolicyManagerProxy::GetPolicy(tfs::PolicyState& state) {
    return Call(
        state, [](auto& client) { return client.getPolicyRequest(); },
        [](auto& answer, tfs::PolicyState& record) { tfs::wire::ReadText(answer.getName(), record.name); });
}

} // namespace ulk::remoting
