// SPDX-License-Identifier: GPL-2.0-or-later
// The boot records of the disks and partitions that the kernel knows.
#pragma once

#include <service/scan/scan_source.h>

#include <string>

namespace tfs::service::scan {

class BootSource final : public IScanSource {
public:
    /// The first folder has an entry for each block device, as /sys/class/block has; in the other one they are opened.
    BootSource(std::string blockDevices, std::string deviceFiles)
        : m_blockDevices(std::move(blockDevices)), m_deviceFiles(std::move(deviceFiles)) {}

    void Walk(IWalkVisitor& visitor, const std::string& goOnBehind) const override;
    bool IsOrdered() const noexcept override { return false; }
    std::vector<std::string> Roots() const override { return {m_deviceFiles}; }

private:
    /// False where the device has nothing to read.
    bool TakeDevice(const std::string& name, IWalkVisitor& visitor) const;

    const std::string m_blockDevices;
    const std::string m_deviceFiles;
};

} // namespace tfs::service::scan
