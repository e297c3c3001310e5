// SPDX-License-Identifier: GPL-2.0-or-later
#include <control/escape.h>
#include <control/event_selection.h>
#include <control/failure.h>
#include <foundation/datetime.h>

#include <charconv>
#include <ctime>
#include <limits>

namespace tfs::control {
namespace {

[[noreturn]] void Refuse(const std::string& argument, const char* why) {
    throw Failure(ExitCode::Usage, "\"" + EscapeForTerminal(argument) + "\" " + why + ".");
}

template <class Number>
Number NumberIn(const std::string& argument) {
    Number number = 0;
    const char* const end = argument.data() + argument.size();
    const auto parsed = std::from_chars(argument.data(), end, number);
    if (parsed.ec != std::errc() || parsed.ptr != end)
        Refuse(argument, "is not a number that can be taken here");
    return number;
}

std::int64_t DateIn(const std::string& argument) {
    for (const char* format : {"%Y-%m-%d", "%Y-%m-%dT%H:%M:%SZ"}) {
        std::tm parts{};
        const char* const end = ::strptime(argument.c_str(), format, &parts);
        // Written back it must read the same, or there is no such day.
        if (end != nullptr && end == argument.c_str() + argument.size()) {
            const std::int64_t seconds = ulk::datetime::FromUtc(parts);
            if (ulk::datetime::Format(ulk::datetime::ToUtc(seconds), format) == argument)
                return seconds;
        }
    }
    Refuse(argument, "is not a date of the form 2026-11-21 or 2026-11-21T01:55:06Z");
}

types::EventName::Type TypeIn(const std::string& argument) {
    const auto value = types::EventName::Table().Value(argument);
    if (!value)
        Refuse(argument, "is not the name of an event");
    return static_cast<types::EventName::Type>(*value);
}

ulk::types::string16_t TextIn(const std::string& argument) {
    if (!IsUtf8(argument))
        Refuse(argument, "is not UTF-8");
    return ulk::text::Cast<ulk::types::string16_t>(std::string_view(argument));
}

} // namespace

EventSelection ReadEventSelection(const EventArguments& arguments) {
    EventSelection selection;
    for (const std::string& type : arguments.types)
        selection.types.push_back(TypeIn(type));
    if (!arguments.taskType.empty())
        selection.taskType = TextIn(arguments.taskType);
    if (!arguments.taskId.empty())
        selection.taskId = NumberIn<std::uint64_t>(arguments.taskId);
    if (!arguments.from.empty())
        selection.from = DateIn(arguments.from);
    if (!arguments.to.empty())
        selection.to = DateIn(arguments.to);
    if (!arguments.limit.empty())
        selection.limit = NumberIn<std::uint32_t>(arguments.limit);
    if (!arguments.order.empty() && arguments.order != "asc" && arguments.order != "desc")
        Refuse(arguments.order, "is neither asc nor desc");
    selection.oldestFirst = arguments.order == "asc";
    return selection;
}

EventQuery EventSelection::Query() const {
    EventQuery query;
    for (const types::EventName::Type type : types)
        query.filters.push_back({u"EventType", u"==", static_cast<std::uint32_t>(type), u"OR"});
    if (taskType)
        query.filters.push_back({u"TaskType", u"==", *taskType, u"AND"});
    if (taskId)
        query.filters.push_back({u"TaskId", u"==", *taskId, u"AND"});
    if (from)
        query.filters.push_back({u"Date", u">=", *from, u"AND"});
    if (to)
        query.filters.push_back({u"Date", u"<", *to, u"AND"});
    query.limit = limit;
    query.orderBy = oldestFirst ? u"EventID ASC" : u"EventID DESC";
    return query;
}

EventFilter EventSelection::Filter() const {
    EventFilter filter;
    for (const types::EventName::Type type : types)
        filter.eventTypes.push_back(static_cast<std::uint32_t>(type));
    if (taskType)
        filter.taskTypes.push_back(*taskType);
    return filter;
}

} // namespace tfs::control
