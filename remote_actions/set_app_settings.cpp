// SPDX-License-Identifier: GPL-2.0-or-later
#include <foundation/check.h>
#include <foundation/objclient.h>
#include <remote_actions/exceptions.h>
#include <remote_actions/set_app_settings.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/translator.h>
#include <tfs_common/validation_text.h>

#include <sys/stat.h>
#include <utility>

namespace tfs::remote_actions {
namespace {

namespace entry = tfs::localization::entry;

std::string Hexadecimal(result_t code) {
    char text[16];
    (void)std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(code));
    return text;
}

bool IsRegularFile(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// What the service's refusals are to the caller; no other code throws, a failure neither.
void ThrowIfRefused(result_t result, const std::string& message) {
    switch (result) {
    case sInvalidSettings:
        Throw<InvalidSettingsException>(__FILE__, __LINE__, message);
    case eBlockedByPolicy:
        Throw<SettingsBlockedByPolicyException>(__FILE__, __LINE__, message);
    case eTsnNotAccepted:
        Throw<TsnNotAcceptedException>(__FILE__, __LINE__, message);
    case ulk::eAccessDenied:
        Throw<ActionInvalidResultException>(
            __FILE__, __LINE__,
            localization::Format(localization::GetLocalizedString(entry::UnknownError1), Hexadecimal(result)), result);
    default:
        break;
    }
}

} // namespace

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

void SetAppSettings::LoadFile() {
    if (!IsRegularFile(m_file))
        Throw<InvalidSettingsException>(__FILE__, __LINE__, localization::GetLocalizedString(entry::FileDoesNotExist));
    if (!ULK_SUCCEEDED(tools::LoadChangeList(m_locator.Get(), m_file, m_changes)))
        Throw<InvalidSettingsException>(
            __FILE__, __LINE__,
            localization::Format(localization::GetLocalizedString(entry::CannotReadFromSettingsFile1), m_file));
}

void SetAppSettings::RequireSettings() const {
    if (m_changes.items.empty() && !m_changes.allowEmpty)
        Throw<InvalidSettingsException>(__FILE__, __LINE__,
                                        localization::GetLocalizedString(entry::CannotParseSettings));
}

CommandResult SetAppSettings::Exec(ulk::IServiceLocator* remote) {
    ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << __PRETTY_FUNCTION__;
    m_changes.typeNumber = settings::AppSettings::TypeNumber;
    if (!m_file.empty())
        LoadFile();
    else
        RequireSettings();
    for (const settings::ChangeItem& item : m_changes.items)
        ULK_TRACE(m_tracer.Get(), ulk::level::Detail) << item.key << " : " << item.value;

    ulk::Ptr<IAppSettingsHandler> handler;
    ULK_CHECK_THROW(ulk::GetInterface(remote, handler.Ref()), "Cannot get interface IAppSettingsHandler");
    ulk::types::vector_t<settings::ValidationMessage> messages;
    CommandResult result;
    result.code = handler->SetAppSettings(m_changes, messages, m_acceptTsn);
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
