// SPDX-License-Identifier: GPL-2.0-or-later
// A package manager of the test's own.
#pragma once

#include <service/app_info/package_state.h>
#include <tests/unit/service/temp_folder.h>

#include <cstddef>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>

namespace tfs::service::tests {

/// An executable script; replaces one of that name at once.
inline std::string Script(const TempFolder& folder, const std::string& name, const std::string& body) {
    std::filesystem::create_directories(std::filesystem::path(folder.File(name)).parent_path());
    folder.Write(name + ".part", "#!/bin/sh\n" + body + "\n");
    EXPECT_EQ(::chmod(folder.File(name + ".part").c_str(), 0755), 0);
    std::filesystem::rename(folder.File(name + ".part"), folder.File(name));
    return folder.File(name);
}

/// A root with a package manager of the test's own.
class FakePackages {
public:
    FakePackages() {
        std::filesystem::create_directories(m_folder.File("var/lib/dpkg"));
        std::filesystem::create_directories(m_folder.File("var/lib/apt/lists"));
    }
    void Set(const std::string& status, const std::string& installed, const std::string& candidate) {
        Script(m_folder, "usr/bin/dpkg-query", "[ \"$3\" = tesl ] && printf " + status);
        Script(m_folder, "usr/bin/apt-cache",
               "echo asked >> " + m_folder.File("asked") + "\nprintf '%s:\\n  Installed: " + installed +
                   "\\n  Candidate: " + candidate + "\\n  Version table:\\n     9.9 500\\n' \"$2\"");
        m_folder.Write("var/lib/dpkg/status", std::string(++m_changes, 'x'));
    }
    void Touch() { m_folder.Write("var/lib/dpkg/status", std::string(++m_changes, 'x')); }
    std::size_t Asked() const { return Content(m_folder.File("asked")).size() / 6; }
    const std::string& Root() const { return m_folder.Path(); }
    app_info::PackageManager::Options Options() const { return {"tesl", Root()}; }

private:
    const TempFolder m_folder;
    std::size_t m_changes = 0;
};

} // namespace tfs::service::tests
