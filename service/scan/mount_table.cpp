// SPDX-License-Identifier: GPL-2.0-or-later
#include <service/scan/mount_table.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <fstream>
#include <sstream>
#include <utility>

namespace tfs::service::scan {
namespace {

/// Types whose files lie on this machine.
constexpr std::array<std::string_view, 17> LocalTypes{"bcachefs", "btrfs",   "exfat", "ext2",  "ext3", "ext4",
                                                      "f2fs",     "hfsplus", "jfs",   "msdos", "ntfs", "ntfs3",
                                                      "overlay",  "tmpfs",   "vfat",  "xfs",   "zfs"};

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

bool ParseMount(const std::string& line, MountEntry& mount) {
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
    if (words >> word >> mount.options)
        mount.options = Unescape(mount.options);
    mount.root = Unescape(mount.root);
    mount.point = Unescape(mount.point);
    return !mount.point.empty() && mount.point.front() == '/';
}

} // namespace

std::vector<MountEntry> ParseMountTable(std::string_view mountInfo) {
    std::vector<MountEntry> mounts;
    std::istringstream lines{std::string(mountInfo)};
    for (std::string line; std::getline(lines, line);) {
        MountEntry mount;
        if (ParseMount(line, mount))
            mounts.push_back(std::move(mount));
    }
    return mounts;
}

std::string ReadMountTable() {
    std::ifstream file("/proc/self/mountinfo");
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

bool IsLocalType(std::string_view type) noexcept {
    return std::find(LocalTypes.begin(), LocalTypes.end(), type) != LocalTypes.end();
}

bool IsBelow(std::string_view path, std::string_view folder) noexcept {
    if (folder == "/")
        return path.size() > 1;
    return path.size() > folder.size() && path.starts_with(folder) && path[folder.size()] == '/';
}

const MountEntry* MountOf(std::string_view path, const std::vector<MountEntry>& mounts) noexcept {
    const MountEntry* best = nullptr;
    for (const MountEntry& mount : mounts) // of several at one point the last covers the others
        if ((path == mount.point || IsBelow(path, mount.point)) &&
            (best == nullptr || mount.point.size() >= best->point.size()))
            best = &mount;
    return best;
}

} // namespace tfs::service::scan
