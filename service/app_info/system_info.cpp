// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/app_info/system_info.h>

#include <fstream>
#include <string_view>
#include <sys/utsname.h>

namespace tfs::service::app_info {
namespace {

constexpr std::size_t LongestLine = 4096;

/// The value as a shell reads it: quotes removed, and a backslash stands for the character behind it.
std::string Unquoted(std::string_view value) {
    std::string text;
    char quote = 0;
    for (std::size_t at = 0; at < value.size(); ++at) {
        const char c = value[at];
        if (c == '\\' && quote != '\'' && at + 1 < value.size())
            text += value[++at];
        else if (quote == 0 && (c == '"' || c == '\''))
            quote = c;
        else if (c == quote)
            quote = 0;
        else
            text += c;
    }
    return text;
}

/// True where the file could be read and names the system.
bool ReadFile(const std::string& path, SystemInfo& info) {
    std::ifstream file(path);
    SystemInfo found;
    found.name.clear();
    std::string versionId;
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        if (equals == std::string::npos || line.size() > LongestLine)
            continue;
        const std::string key = line.substr(0, equals);
        const std::string value = Unquoted(std::string_view(line).substr(equals + 1));
        if (key == "NAME")
            found.name = value;
        else if (key == "VERSION")
            found.version = value;
        else if (key == "VERSION_ID")
            versionId = value;
    }
    if (found.name.empty())
        return false;
    if (found.version.empty())
        found.version = versionId;
    info = found;
    return true;
}

} // namespace

SystemInfo ReadSystemInfo(const std::vector<std::string>& files) {
    SystemInfo info;
    for (const std::string& file : files)
        if (ReadFile(file, info))
            return info;
    utsname kernel{};
    if (::uname(&kernel) == 0) {
        info.name = kernel.sysname;
        info.version = kernel.release;
    }
    return info;
}

} // namespace tfs::service::app_info
