// SPDX-License-Identifier: GPL-2.0-or-later
// The updater's configuration for one run; the system's own is never read.
#pragma once

#include <service/update/update_source.h>
#include <service/update/updater_account.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tfs::service::update {

/// Numbers under which the updater finds what it is handed. It needs no path to them, so the folders above may be
/// closed to its account.
inline constexpr int DatabaseDescriptor = 5;
inline constexpr int SourceDescriptor = 6;

/// What one run of the updater is to do.
struct FreshclamJob {
    UpdateSource source;
    std::vector<std::string> files; ///< for a folder: names of signature files
    int databaseFolder = -1;        ///< open folder that the account may write
    int sourceFolder = -1;          ///< for a folder: open, with the files
    UpdaterAccount account;         ///< as which it runs
    std::uint32_t timeout = 10;     ///< seconds, for connecting and for a wait without a byte
};

/// The text of the configuration. Throws std::invalid_argument where a value holds a character that would end it.
std::string FreshclamConfiguration(const FreshclamJob& job);

} // namespace tfs::service::update
