// SPDX-License-Identifier: GPL-2.0-or-later
// Which files and folders a walk leaves alone. Used on one thread.
#pragma once

#include <locale.h>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace tfs::service::scan {

/// An absolute path without doubled and closing slashes.
std::string NormalisedPath(std::string_view path);

class Exclusions {
public:
    /// `paths` are absolute; what lies below them is excluded with them. Masks as CheckMask takes them; others match
    /// nothing.
    explicit Exclusions(const std::vector<std::string>& paths = {}, const std::vector<std::string>& masks = {});
    ~Exclusions();
    Exclusions(Exclusions&& other) noexcept;
    Exclusions& operator=(Exclusions&&) = delete;

    /// Whether this very path is excluded; for one that is reached from above, as a walk does.
    bool Excludes(const std::string& path) const;
    /// Whether this path or a folder above it is excluded.
    bool ExcludesAnyOf(const std::string& path) const;

private:
    bool Matches(const std::string& mask, const char* text) const;

    std::unordered_set<std::string> m_paths;
    std::vector<std::string> m_nameMasks;
    std::vector<std::string> m_pathMasks;
    locale_t m_locale; ///< in which a question mark stands for a character and not for a byte
};

} // namespace tfs::service::scan
