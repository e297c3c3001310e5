// SPDX-License-Identifier: GPL-2.0-or-later
// Tells whether file systems came or went: one that is mounted anew may bear an old one's device number and yet hold
// other files. Used on one thread at a time.
#pragma once

#include <contract/scanner_channel.h>

#include <sys/types.h>

namespace tfs::service::scan {

class MountWatch {
public:
    MountWatch() noexcept;
    /// True when something was mounted or unmounted since it was asked last, and where that can't be told.
    bool Changed() noexcept;
    /// Device of the root file system, which stays as long as the system runs; 0 where it can't be told.
    static dev_t RootDevice() noexcept;

private:
    scanner::Descriptor m_table;
};

} // namespace tfs::service::scan
