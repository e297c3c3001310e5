// SPDX-License-Identifier: GPL-2.0-or-later
// The service's settings: typed, validated as a whole, read at start and written atomically.
#pragma once

#include <contract/tfs/settings.h>
#include <foundation/object.h>
#include <foundation/result.h>
#include <service/settings/file_io.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::settings {

/// That the statement of the security network was accepted: when, and which text.
struct StatementAcceptance {
    std::string date;   ///< UTC, as "2026-11-21T01:55:06Z"
    std::string sha256; ///< of the statement's file, in lower-case hexadecimal digits
    friend bool operator==(const StatementAcceptance&, const StatementAcceptance&) = default;
};

/// A plain record; a default one holds the product's defaults.
struct ServiceSettings {
    std::vector<std::string> scanScope{"/"};  ///< of the full scan; absolute paths, at least one
    std::vector<std::string> scanExclusions;  ///< absolute paths, whole subtrees
    std::uint32_t scannerWorkers = 0;         ///< 0: as many as processors; at most 64
    std::uint32_t fileTimeLimitSeconds = 120; ///< for one file; 1 to 3600
    bool allowUserManageLocalTasks = true;
    bool allowUserManageGroupTasks = true;
    tfs::settings::AppSettings application;
    std::optional<StatementAcceptance> statement;
    std::string unknown; ///< what the file holds beside that, a JSON object's text; written back as it is

    friend bool operator==(const ServiceSettings&, const ServiceSettings&) = default;
};

inline constexpr std::uint32_t MaxScannerWorkers = 64;
inline constexpr std::uint32_t MaxFileTimeLimitSeconds = 3600;
inline constexpr std::size_t MaxPathsInList = 1024;

/// Where the settings in hand came from.
enum class SettingsOrigin {
    File,
    Missing,    ///< no file: defaults
    Unreadable, ///< the file can't be read: defaults, the file stays
    Damaged,    ///< not parsable: defaults, the file was set aside
    Invalid,    ///< a value of the wrong type or out of range: defaults for all, the file stays
};

struct LoadedSettings {
    ServiceSettings settings;
    SettingsOrigin origin = SettingsOrigin::Missing;
    std::string problem; ///< one line for the trace and the event; empty with File and Missing
};

/// Reads the settings; never fails: what can't be used leaves the defaults, all of them. Keys that aren't known are
/// kept. `traceLevel` and `reportsForPrivilegedOnly`, as earlier versions wrote them, count where the application
/// settings don't say.
LoadedSettings LoadSettings(const std::string& path);

/// Empty where the settings hold together, else what is wrong.
std::string ValidateSettings(const ServiceSettings& settings);

/// Validates, then replaces the file atomically. eInvalidArgument where the settings don't hold together, else the code
/// of the system call that failed; the old file stays then, and only then. The locator has the tracer.
result_t SaveSettings(const std::string& path, const ServiceSettings& settings, OldFile oldFile = OldFile::Drop,
                      ulk::IServiceLocator* locator = nullptr) noexcept;

} // namespace tfs::service::settings
