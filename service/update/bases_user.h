// SPDX-License-Identifier: GPL-2.0-or-later
// Who uses the signatures, as an update sees it.
#pragma once

#include <foundation/result.h>

#include <functional>
#include <string>

namespace tfs::service::update {

/// Outlives every run of an update.
class IBasesUser {
public:
    virtual ~IBasesUser() = default;
    /// Loads the signatures of `folder` and takes them into use; returns when that is done. Where they don't load,
    /// those in use stay and `why` is one line for people. eCancelled soon after `cancelled` is true. Called on the
    /// run's worker, one at a time.
    virtual result_t Replace(const std::string& folder, const std::function<bool()>& cancelled, std::string& why) = 0;
};

} // namespace tfs::service::update
