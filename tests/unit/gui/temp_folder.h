// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace tfs::gui::test {

/// A folder of the test's own, removed with everything in it.
class TempFolder {
public:
    TempFolder() {
        if (::mkdtemp(m_path.data()) == nullptr)
            throw std::runtime_error("mkdtemp failed");
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    std::string Path(const std::string& name) const { return m_path + "/" + name; }

private:
    std::string m_path = (std::filesystem::temp_directory_path() / "tesl-gui-test-XXXXXX").string();
};

} // namespace tfs::gui::test
