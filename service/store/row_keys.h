// SPDX-License-Identifier: GPL-2.0-or-later
// What queries compare of an event, in the form of the database's columns.
#pragma once

#include <contract/tfs/event.h>

#include <cstdint>
#include <optional>
#include <string>

namespace tfs::service::store {

struct RowKeys {
    Event::IdType id = 0;
    std::int64_t time = 0;
    std::int64_t type = 0;
    std::optional<std::string> taskType; ///< UTF-8; absent where the event tells none
    std::optional<std::int64_t> taskId;  ///< the bits of the unsigned number
};

RowKeys KeysOf(const Event& event);

/// A task's type as the column holds it. What isn't Unicode has '?' in it, on both sides of a comparison.
std::string TaskTypeKey(std::u16string_view taskType);
/// A task's id as the column holds it.
constexpr std::int64_t TaskIdKey(std::uint64_t taskId) noexcept { return static_cast<std::int64_t>(taskId); }

} // namespace tfs::service::store
