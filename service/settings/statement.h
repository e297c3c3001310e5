// SPDX-License-Identifier: GPL-2.0-or-later
// Which text a user accepts: the statement's file, told by its content.
#pragma once

#include <service/settings/service_settings.h>

#include <string>

namespace tfs::service::settings {

/// SHA-256 of a file of at most 1 MiB, in lower-case hexadecimal digits; empty where it can't be read. Touches the
/// disk.
std::string HashOfStatement(const std::string& path);

/// The acceptance, now, of the text with that hash.
StatementAcceptance AcceptNow(std::string sha256);

} // namespace tfs::service::settings
