// SPDX-License-Identifier: GPL-2.0-or-later
// Where an update may come from, as told by the settings.
#pragma once

#include <contract/tfs/tasks.h>
#include <foundation/result.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tfs::service::update {

/// A proxy as the updater is told of it; empty texts where there is none.
struct ProxyAddress {
    std::string server; ///< with its scheme
    std::uint16_t port = 0;
    std::string user;
    std::string password;

    friend bool operator==(const ProxyAddress&, const ProxyAddress&) = default;
};

struct UpdateSource {
    enum class Kind {
        Official, ///< the servers of the updater's makers
        Mirror,   ///< a URL below which the official files lie
        File,     ///< a URL of one signature file
        Folder,   ///< of signature files, on this machine
    };
    Kind kind = Kind::Official;
    std::string location; ///< host, URL or path
    std::optional<ProxyAddress> proxy = std::nullopt;

    friend bool operator==(const UpdateSource&, const UpdateSource&) = default;
};

/// The sources in the order in which they are tried; never empty on success. eInvalidArgument with one line for people
/// where a setting isn't allowed; `sources` is untouched then.
result_t SourcesOf(const UpdateSettings& settings, std::vector<UpdateSource>& sources, std::string& problem);

/// Empty for what is no proxy's URL.
std::optional<ProxyAddress> ParseProxy(const std::string& url);

} // namespace tfs::service::update
