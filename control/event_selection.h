// SPDX-License-Identifier: GPL-2.0-or-later
// Which events a command is about, as the command line tells it.
#pragma once

#include <contract/tfs/event_query.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tfs::control {

/// The arguments as they were given; empty where they weren't.
struct EventArguments {
    std::vector<std::string> types;
    std::string taskType;
    std::string taskId;
    std::string from;
    std::string to;
    std::string limit;
    std::string order;
};

/// Events of one of the types, if there are any, that meet everything else that is set.
struct EventSelection {
    static constexpr std::uint32_t DefaultLimit = 100;

    std::vector<types::EventName::Type> types;
    std::optional<ulk::types::string16_t> taskType;
    std::optional<std::uint64_t> taskId;
    std::optional<std::int64_t> from; ///< seconds since 1970-01-01 UTC
    std::optional<std::int64_t> to;   ///< the same, exclusive
    std::uint32_t limit = DefaultLimit;
    bool oldestFirst = false;

    EventQuery Query() const;
    /// What a subscription can tell apart: types and task type.
    EventFilter Filter() const;
};

/// Throws a Failure with ExitCode::Usage for a name that isn't in the tables, a number or a date that isn't one.
/// Dates are UTC: "2026-11-21" or "2026-11-21T01:55:06Z".
EventSelection ReadEventSelection(const EventArguments& arguments);

} // namespace tfs::control
