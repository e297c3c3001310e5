// SPDX-License-Identifier: GPL-2.0-or-later
#include <remote_actions/exceptions.h>
#include <remote_actions/settings_request.h>
#include <tfs_common/settings_tools.h>
#include <tfs_common/translator.h>

#include <cstdio>
#include <sys/stat.h>

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

void LoadFile(ulk::IServiceLocator* locator, const std::string& file, settings::SettingsChangeList& changes) {
    if (!IsRegularFile(file))
        Throw<InvalidSettingsException>(__FILE__, __LINE__, localization::GetLocalizedString(entry::FileDoesNotExist));
    if (!ULK_SUCCEEDED(tools::LoadChangeList(locator, file, changes)))
        Throw<InvalidSettingsException>(
            __FILE__, __LINE__,
            localization::Format(localization::GetLocalizedString(entry::CannotReadFromSettingsFile1), file));
}

} // namespace

settings::SettingsChangeList MakeSettingsRequest(ulk::IServiceLocator* locator, std::uint32_t typeNumber,
                                                 const std::string& file, settings::SettingsChangeList changes) {
    changes.typeNumber = typeNumber;
    if (!file.empty()) {
        changes.items.clear();
        LoadFile(locator, file, changes);
    }
    if (changes.items.empty() && !changes.allowEmpty)
        Throw<InvalidSettingsException>(__FILE__, __LINE__,
                                        localization::GetLocalizedString(entry::CannotParseSettings));
    return changes;
}

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

} // namespace tfs::remote_actions
