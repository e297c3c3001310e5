// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/tasks/local_mounts.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <set>
#include <sstream>
#include <utility>

namespace tfs::service::tasks {
namespace {

/// Types whose files lie on this machine.
constexpr std::array<std::string_view, 17> LocalTypes{"bcachefs", "btrfs",   "exfat", "ext2",  "ext3", "ext4",
                                                      "f2fs",     "hfsplus", "jfs",   "msdos", "ntfs", "ntfs3",
                                                      "overlay",  "tmpfs",   "vfat",  "xfs",   "zfs"};

struct Mount {
    std::string device; ///< major:minor
    std::string root;   ///< within the file system
    std::string point;
    std::string type;
};

/// Blanks and the like are written as a backslash and three octal digits.
std::string Unescape(const std::string& text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool octal =
            text[i] == '\\' && i + 3 < text.size() &&
            std::all_of(text.begin() + static_cast<std::ptrdiff_t>(i) + 1,
                        text.begin() + static_cast<std::ptrdiff_t>(i) + 4, [](char c) { return c >= '0' && c <= '7'; });
        if (!octal) {
            plain.push_back(text[i]);
            continue;
        }
        plain.push_back(static_cast<char>((text[i + 1] - '0') * 64 + (text[i + 2] - '0') * 8 + (text[i + 3] - '0')));
        i += 3;
    }
    return plain;
}

bool ParseMount(const std::string& line, Mount& mount) {
    std::istringstream words(line);
    std::string id;
    std::string parent;
    std::string word;
    if (!(words >> id >> parent >> mount.device >> mount.root >> mount.point))
        return false;
    while (words >> word)
        if (word == "-")
            break;
    if (!(words >> mount.type))
        return false;
    mount.root = Unescape(mount.root);
    mount.point = Unescape(mount.point);
    return !mount.point.empty() && mount.point.front() == '/';
}

bool IsBelow(const std::string& path, const std::string& area) {
    if (area == "/")
        return path.size() > 1;
    return path.size() > area.size() && path.starts_with(area) && path[area.size()] == '/';
}

} // namespace

std::vector<std::string> WithLocalMounts(const std::vector<std::string>& areas, std::string_view mountInfo) {
    std::vector<Mount> mounts;
    std::istringstream lines{std::string(mountInfo)};
    for (std::string line; std::getline(lines, line);) {
        Mount mount;
        if (ParseMount(line, mount))
            mounts.push_back(std::move(mount));
    }
    std::vector<std::string> result = areas;
    std::set<std::pair<std::string, std::string>> seen;
    for (const Mount& mount : mounts)
        if (std::find(areas.begin(), areas.end(), mount.point) != areas.end())
            seen.emplace(mount.device, mount.root);
    for (const Mount& mount : mounts) {
        const bool local = std::find(LocalTypes.begin(), LocalTypes.end(), mount.type) != LocalTypes.end();
        const bool wanted = std::any_of(areas.begin(), areas.end(),
                                        [&](const std::string& area) { return IsBelow(mount.point, area); });
        // The same part of a file system under a second name holds the same files.
        if (local && wanted && seen.emplace(mount.device, mount.root).second &&
            std::find(result.begin(), result.end(), mount.point) == result.end())
            result.push_back(mount.point);
    }
    return result;
}

std::vector<std::string> WithLocalMounts(const std::vector<std::string>& areas) {
    std::ifstream file("/proc/self/mountinfo");
    std::ostringstream text;
    text << file.rdbuf();
    return WithLocalMounts(areas, text.str());
}

} // namespace tfs::service::tasks
