// SPDX-License-Identifier: GPL-2.0-or-later
// The order in which a walk comes by paths: name by name, bytes compared, a folder before what is in it. Pure
// functions.
#pragma once

#include <string>
#include <string_view>

namespace tfs::service::scan {

/// Less than, equal to or greater than 0. Both are absolute, without doubled or closing slashes.
inline int ComparePaths(std::string_view a, std::string_view b) noexcept {
    // A slash counts less than any byte of a name, so that all of a folder comes before its next neighbour.
    const auto weight = [](char c) { return c == '/' ? 0 : static_cast<int>(static_cast<unsigned char>(c)); };
    const std::size_t size = a.size() < b.size() ? a.size() : b.size();
    for (std::size_t i = 0; i < size; ++i)
        if (a[i] != b[i])
            return weight(a[i]) - weight(b[i]);
    return a.size() == b.size() ? 0 : a.size() < b.size() ? -1 : 1;
}

/// Whether `path` lies inside the folder of that path, at any depth.
inline bool IsInside(std::string_view path, std::string_view folder) noexcept {
    if (folder == "/")
        return path.size() > 1;
    return path.size() > folder.size() && path[folder.size()] == '/' && path.starts_with(folder);
}

/// With a slash between, but for the root, which is one.
inline void AppendName(std::string& path, std::string_view name) {
    if (path.back() != '/')
        path += '/';
    path += name;
}

} // namespace tfs::service::scan
