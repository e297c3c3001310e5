// SPDX-License-Identifier: GPL-2.0-or-later
// An event as JSON.
#pragma once

#include <contract/tfs/event.h>

#include <nlohmann/json.hpp>

namespace tfs::control {

/// Fields in the service's order, without the hidden ones. Numbers of a table by name, dates as UTC text; beside a text
/// that isn't UTF-8 "valueHex" holds its exact bytes.
nlohmann::json EventJson(const Event& event);

} // namespace tfs::control
