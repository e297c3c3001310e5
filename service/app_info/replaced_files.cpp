// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app_info/replaced_files.h>

#include <fstream>
#include <set>
#include <sstream>
#include <string_view>

namespace tfs::service::app_info {

std::vector<std::string> GoneFiles(const std::string& maps) {
    constexpr std::string_view Mark = " (deleted)";
    std::set<std::string> paths;
    std::istringstream lines(maps);
    for (std::string line; std::getline(lines, line);) {
        // Addresses, rights, offset, device and inode come before; none of them has a slash.
        const std::size_t path = line.find('/');
        if (path != std::string::npos && line.ends_with(Mark))
            paths.insert(line.substr(path, line.size() - path - Mark.size()));
    }
    return {paths.begin(), paths.end()};
}

std::vector<std::string> GoneFilesOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/maps");
    std::ostringstream text;
    text << file.rdbuf();
    return GoneFiles(text.str());
}

} // namespace tfs::service::app_info
