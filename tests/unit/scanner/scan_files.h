// SPDX-License-Identifier: GPL-2.0-or-later
// Temporary folders and the files that the scanner's tests put into them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tfs::test {

/// A folder of its own below the system's temporary folder; removed with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const noexcept { return m_path; }
    std::string operator/(const std::string& name) const { return m_path + "/" + name; }
    /// Writes a file, with the folders that it needs, and returns its path.
    std::string Write(const std::string& name, const std::string& content) const;

private:
    std::string m_path;
};

/// The standard anti-malware test file, put together here and stored nowhere.
std::string TestThreat();
/// A text that our own signatures know.
std::string MarkerThreat();
/// A zip archive with stored members; another `method` is only what it says of itself.
std::string Zip(const std::vector<std::pair<std::string, std::string>>& members, std::uint16_t method = 0);
std::string Contents(const std::string& path);
/// Bytes that don't pack, always the same for the same `state`.
std::string Noise(std::size_t size, std::uint32_t state = 7);
/// Runs a command by the shell; throws std::runtime_error when it fails.
void RunCommand(const std::string& command);

} // namespace tfs::test
