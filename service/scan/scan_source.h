// SPDX-License-Identifier: GPL-2.0-or-later
// Where the files of a run come from. Used on the run's threads, one call on each.
#pragma once

#include <service/scan/file_walker.h>

#include <string>
#include <vector>

namespace tfs::service::scan {

class IScanSource {
public:
    virtual ~IScanSource() = default;
    /// Brings all that there is to the visitor, until it has enough. Called once to scan and once to count, on two
    /// threads. `goOnBehind` is empty where IsOrdered is false.
    virtual void Walk(IWalkVisitor& visitor, const std::string& goOnBehind) const = 0;
    /// Whether files come in the order of their paths, so that a run can go on behind any of them.
    virtual bool IsOrdered() const noexcept = 0;
    /// What is told as not processed where nothing at all may be looked at.
    virtual std::vector<std::string> Roots() const = 0;
};

} // namespace tfs::service::scan
