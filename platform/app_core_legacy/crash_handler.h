// SPDX-License-Identifier: GPL-2.0-or-later
// Leaves a text file behind when the program crashes.
#pragma once

#include <contract/app_core/loader.h>

namespace platform::app_core_legacy {

/// While it lives, a fatal signal writes a small file (signal, address, stack, memory map) into the dump folder and
/// then ends the process as the signal would have. Signals for which somebody else has a handler are left alone. One at
/// a time in a process; made and destroyed on the application's thread.
class CrashHandler {
public:
    /// Makes the folder where it is missing and prunes it, so that with one more dump there are at most `limit`. A
    /// limit of 0, a pattern that is a path, or a folder that can't be used mean that no dump is written.
    explicit CrashHandler(const app_core::loader::CrashDumpSettings& settings);
    /// Gives the signals back.
    ~CrashHandler();
    CrashHandler(const CrashHandler&) = delete;
    CrashHandler& operator=(const CrashHandler&) = delete;

    /// False where no dump would be written.
    bool IsInstalled() const noexcept { return m_installed; }

private:
    bool PrepareFolder(const app_core::loader::CrashDumpSettings& settings);
    void Install();

    bool m_installed = false;
};

} // namespace platform::app_core_legacy
