// SPDX-License-Identifier: GPL-2.0-or-later
// Identifiers that are settled between front end and service before their interfaces are: an interface takes its own
// from here when it is declared.
#pragma once

#include <foundation/object.h>

namespace tfs::interface_identifier {

// On the remote locator.
inline constexpr ulk::iid_t BackupManager = 0x52125C7Du;
inline constexpr ulk::iid_t BackupConfigurator = 0x9EBC09FEu;
inline constexpr ulk::iid_t LicenceHandling = 0x056C9190u;

// On the local locator.
inline constexpr ulk::iid_t ProductSettings = 0x5C6FB911u;

} // namespace tfs::interface_identifier
