// SPDX-License-Identifier: GPL-2.0-or-later
// The executables and mapped files of running processes, as the kernel tells of them.
#pragma once

#include <service/scan/scan_source.h>

#include <string>

namespace tfs::service::scan {

class ProcessSource final : public IScanSource {
public:
    /// `folder` holds a folder for each process, as /proc does.
    ProcessSource(std::string folder, Exclusions exclusions)
        : m_folder(std::move(folder)), m_exclusions(std::move(exclusions)) {}

    void Walk(IWalkVisitor& visitor, const std::string& goOnBehind) const override;
    bool IsOrdered() const noexcept override { return false; }
    std::vector<std::string> Roots() const override { return {m_folder}; }

private:
    const std::string m_folder;
    const Exclusions m_exclusions;
};

} // namespace tfs::service::scan
