// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/user_language.h>
#include <tfs_common/translator.h>

#include <clocale>
#include <langinfo.h>
#include <string_view>

namespace tfs::control {

void LoadUserLanguage() {
    const char* const messages = std::setlocale(LC_MESSAGES, "");
    // A terminal of another encoding would show each translated text as garbage.
    if (messages != nullptr && std::setlocale(LC_CTYPE, "") != nullptr &&
        std::string_view(::nl_langinfo(CODESET)) == "UTF-8")
        localization::LoadLocalization(nullptr, messages, true);
}

} // namespace tfs::control
