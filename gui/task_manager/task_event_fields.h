// SPDX-License-Identifier: GPL-2.0-or-later
// The additional data of an event about a task.
#pragma once

#include <contract/tfs/event.h>

#include <cstdint>
#include <optional>

namespace tfs::gui {

/// Nothing where the field is missing or isn't a number.
std::optional<std::uint64_t> TaskIdOf(const Event& event);
/// Nothing where the field is missing or isn't one of the states, as a number or by name.
std::optional<tfs::types::TaskState::Type> TaskStateOf(const Event& event);
/// A percentage, kept within 0 to 100; nothing where the field is missing or isn't a number.
std::optional<std::uint8_t> ProgressOf(const Event& event, tfs::types::AdditionalName::Type field);

} // namespace tfs::gui
