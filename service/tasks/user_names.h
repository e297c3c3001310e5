// SPDX-License-Identifier: GPL-2.0-or-later
// Names of users, remembered: asking the system can take long.
#pragma once

#include <foundation/string16.h>
#include <foundation/sync.h>

#include <cstdint>
#include <unordered_map>

namespace tfs::service::tasks {

/// May be called from any thread.
class UserNames {
public:
    /// What is remembered; empty where the name isn't known yet. Never waits.
    ulk::types::string16_t Known(std::uint32_t uid) const;
    /// Asks the system where the name isn't known; may wait for a directory service. Empty for a uid without a name.
    ulk::types::string16_t Resolve(std::uint32_t uid);

private:
    mutable ulk::Mutex m_mutex;
    std::unordered_map<std::uint32_t, ulk::types::string16_t> m_names ULK_GUARDED_BY(m_mutex);
};

} // namespace tfs::service::tasks
