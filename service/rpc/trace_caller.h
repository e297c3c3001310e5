// SPDX-License-Identifier: GPL-2.0-or-later
// What clients say of themselves, for the trace and for nothing else.
#pragma once

#include <service/rpc/connection_context.h>

#include <string_view>

namespace tfs::service::rpc {

/// One line at level 800 of who did what: "rpc: user 1000 (process 42) greets as "name"". The name is whatever the
/// client chose, so that it stands last and is cut to 64 units; the tracer escapes what is in it. On the loop's thread.
void TraceCaller(const ConnectionContext& context, const char* deed, std::string_view name);
void TraceCaller(const ConnectionContext& context, const char* deed, std::u16string_view name);

} // namespace tfs::service::rpc
