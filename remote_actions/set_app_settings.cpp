// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <remote_actions/set_app_settings.h>
#include <remote_actions/settings_request.h>
#include <tfs_common/validation_text.h>

#include <utility>

namespace tfs::remote_actions {

SetAppSettings::SetAppSettings(ulk::IServiceLocator* locator) : m_locator(locator) {
    (void)ulk::GetInterface(locator, m_tracer.Ref());
}

void SetAppSettings::SetAcceptTsn(bool accept) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    m_acceptTsn = accept;
}

void SetAppSettings::SetSettings(settings::SettingsChangeList&& changes) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    m_changes = std::move(changes);
}

void SetAppSettings::SetFile(const std::string& path) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    m_file = path;
}

CommandResult SetAppSettings::Exec(ulk::IServiceLocator* remote) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    const settings::SettingsChangeList changes =
        MakeSettingsRequest(m_locator.Get(), settings::AppSettings::TypeNumber, m_file, m_changes);
    for (const settings::ChangeItem& item : changes.items)
        ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << item.key << " : " << item.value;

    ulk::Ptr<IAppSettingsHandler> appSettingsHandler;
    ULK_CHECK_THROW(ulk::GetInterface(remote, appSettingsHandler.Ref()), "Cannot get interface IAppSettingsHandler");
    ulk::types::vector_t<settings::ValidationMessage> messages;
    CommandResult result;
    result.code = appSettingsHandler->SetAppSettings(changes, messages, m_acceptTsn);
    result.message = localization::ValidationText(messages);
    ThrowIfRefused(result.code, result.message);
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << "Calling AppSettingsHandler::SetAppSettings:\n" << result.message;
    return result;
}

std::unique_ptr<SetAppSettings> MakeSetAppSettings(ulk::IServiceLocator* locator, const std::string& file,
                                                   bool acceptTsn, settings::SettingsChangeList&& changes) {
    auto action = std::make_unique<SetAppSettings>(locator);
    action->SetFile(file);
    action->SetAcceptTsn(acceptTsn);
    action->SetSettings(std::move(changes));
    return action;
}

} // namespace tfs::remote_actions
