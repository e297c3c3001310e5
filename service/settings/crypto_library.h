// SPDX-License-Identifier: GPL-2.0-or-later
// The start of the library for digests and ciphers.
#pragma once

namespace tfs::service::settings {

/// The library wants to be asked for its version before anything else, once in a process. False where it can't be used.
/// Any thread.
bool IsCryptoLibraryReady() noexcept;

} // namespace tfs::service::settings
