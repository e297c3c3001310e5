// SPDX-License-Identifier: GPL-2.0-or-later
// What the package manager knows of this product.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::app_info {

struct PackageState {
    bool isBroken = false; ///< an installation was begun and not finished
    std::string installed; ///< version on disk
    std::string available; ///< version that the package manager would install instead; empty where there is none
};

/// Asks the package manager for what it has on disk: nothing is fetched. Used on one thread.
class PackageManager {
public:
    struct Options {
        std::string package = "tesl";
        std::string root; ///< before each path; empty for the machine's own
    };
    explicit PackageManager(Options options) : m_options(std::move(options)) {}

    /// The state as last asked; asks where it was never asked, and where what the package manager keeps on disk has
    /// changed and then held still until the next call: in mid-installation it says what doesn't last. Empty where the
    /// product isn't installed as a package. Blocks for as long as the programs take, at most a minute each, or until
    /// `cancelled`.
    const std::optional<PackageState>& Look(const std::function<bool()>& cancelled);

private:
    std::string Path(const char* path) const { return m_options.root + path; }
    std::string Fingerprint() const;
    std::optional<PackageState> Ask(const std::function<bool()>& cancelled) const;

    const Options m_options;
    std::optional<PackageState> m_state;
    std::string m_asked; ///< fingerprint of what m_state tells of
    std::string m_seen;  ///< that of the last look
};

/// Of the lines that `apt-cache policy` prints for one package; empty where it isn't installed.
std::optional<PackageState> ParsePolicy(const std::string& text);

} // namespace tfs::service::app_info
