// SPDX-License-Identifier: GPL-2.0-or-later
// The product's configuration, read once at start from tesl.ini and never changed afterwards.
#pragma once

#include <contract/product_paths.h>
#include <foundation/guid.h>
#include <foundation/string16.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace tfs::loader {

/// A record with its defaults. Plain data: copied by whoever changes it.
struct ConfigData {
    ulk::types::string16_t logFolder = ulk::text::Cast<ulk::types::string16_t>(std::string_view(paths::LogFolder));
    std::int32_t traceLevel = 0;
    std::int32_t traceFileCount = 2;
    std::int64_t traceFileSizeLimit = 250; ///< in units of one million bytes
    std::string socketPath = paths::ServiceSocket;
    std::string packageType;
    std::string locale = "en_US.UTF-8";
    bool localeApplied = false; ///< set by main once setlocale has taken the locale
    std::int64_t scanMemoryLimit = 8192;
    bool useFanotify = true;
    bool useGui = true;
    std::int32_t watchdogPingTimeout = 20000; ///< milliseconds
    ulk::Guid pcid;
    ulk::Guid machineId;
    bool agreementAccepted = false;
    // Of the service; carried along and read by nobody here.
    std::string sambaConfigPath = "/etc/samba/smb.conf";
    std::string nfsExportsPath = "/etc/exports";
    std::string updateFolder;
    std::string licenseFolder;
    std::string activationAddress;
};

/// Reads the file and fits the log folder to the user. Never throws but for std::bad_alloc: a file that is missing,
/// unreadable, not a regular file or not an INI file yields the defaults, and a value that isn't a whole token of its
/// type, or is out of its range, leaves its own field alone. A GUID that can't be read discards the whole record. A
/// text is taken as it stands, also an empty one.
std::shared_ptr<const ConfigData> LoadConfigData(const std::string& path = paths::Configuration);
/// The same for a given real user id; for tests.
std::shared_ptr<const ConfigData> LoadConfigData(const std::string& path, uid_t uid);

} // namespace tfs::loader
