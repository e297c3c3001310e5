// SPDX-License-Identifier: GPL-2.0-or-later
// Lets a thread of the service reach only the files that a user may reach. Nothing is given back: the thread ends with
// the work that it does for the user.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

namespace tfs::service::scan {

/// From now on the calling thread, and no other, opens files with the rights of `uid`: user, groups, none of root's
/// privileges. Without `uid`, or with the service's own, nothing changes. Returns 0 or an errno value; then nothing may
/// be opened for that user. Only root can take on other users' rights. Asks the name service, which may take long.
int TakeOnRights(std::optional<std::uint32_t> uid) noexcept;

/// Does `work` with the rights of `uid`, on a thread of its own because they can't be given back, or on this one where
/// they are the service's. Returns 0, or the errno value for which it wasn't done. What `work` throws comes out.
int RunWithRights(std::optional<std::uint32_t> uid, const std::function<void()>& work);

} // namespace tfs::service::scan
