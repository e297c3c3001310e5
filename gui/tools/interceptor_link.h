// SPDX-License-Identifier: GPL-2.0-or-later
// Addresses of online pages behind the maker's redirection endpoint.
#pragma once

#include <QtCore/QString>
#include <string>

namespace tfs::gui {

/// Address of the page that `link` names, in the user's language and for this version. The maker's site where the
/// address can't be built.
QString GetInterceptorLink(const std::string& link);

} // namespace tfs::gui
