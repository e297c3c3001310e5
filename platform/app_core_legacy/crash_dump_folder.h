// SPDX-License-Identifier: GPL-2.0-or-later
// The folder of crash dumps and the names in it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

namespace platform::app_core_legacy {

/// Fills a name pattern: %d becomes the date and time in UTC as "20260131-235959", %p the pid, %% a percent sign.
/// Async-signal-safe. The name is cut to fit and always zero-terminated.
void FillDumpName(char* out, std::size_t size, const char* pattern, std::time_t now, int pid) noexcept;

/// Removes the oldest files whose names fit the pattern until at most `keep` are left. Failures are ignored: a dump too
/// many does no harm.
void PruneDumps(const std::string& folder, const std::string& pattern, std::uint32_t keep);

} // namespace platform::app_core_legacy
