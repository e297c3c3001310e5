// SPDX-License-Identifier: GPL-2.0-or-later
// What users are told of events where reports are kept from them.
#pragma once

#include <service/rpc/service_api.h>

namespace tfs::service::rpc {

/// Everyone is told of what he did himself. Any thread.
bool IsOwn(const Event& event, const Caller& caller) noexcept;

/// What a window needs to show the machine's state: that it happened, to which task, and how that task stands. Who did
/// it, to which files and what was found in them stays out.
Event WithoutReport(const Event& event);

} // namespace tfs::service::rpc
