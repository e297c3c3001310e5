// SPDX-License-Identifier: GPL-2.0-or-later
// The language of what the program tells its user.
#pragma once

namespace tfs::control {

/// Takes the locale that LC_ALL, LC_MESSAGES or LANG name, and its texts where the product has them. Texts stay English
/// where the system doesn't have that locale, or where it isn't one of UTF-8. Called once, before there are other
/// threads. Doesn't fail.
void LoadUserLanguage();

} // namespace tfs::control
