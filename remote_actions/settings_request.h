// SPDX-License-Identifier: GPL-2.0-or-later
// What all commands that change settings have in common: how a request comes about, and how it is refused.
#pragma once

#include <contract/tfs/settings.h>
#include <foundation/object.h>

#include <cstdint>
#include <string>

namespace tfs::remote_actions {

/// The list under the type of its structure; where a file is named, the items are those of the file. `locator` is the
/// process's own and may be null. Throws InvalidSettingsException for a file that can't be read, and for a list or a
/// file without items unless the list may be empty.
settings::SettingsChangeList MakeSettingsRequest(ulk::IServiceLocator* locator, std::uint32_t typeNumber,
                                                 const std::string& file, settings::SettingsChangeList changes);

/// What the service's refusals are to the caller: InvalidSettingsException, SettingsBlockedByPolicyException,
/// TsnNotAcceptedException with `message`; ActionInvalidResultException for a user who isn't allowed. No other code
/// throws, a failure neither.
void ThrowIfRefused(result_t result, const std::string& message);

} // namespace tfs::remote_actions
